/** A VICTORY library that publishes nothing and counts aloud, each ten thousand status records. Put
 *  in front of the unit's own with LD_LIBRARY_PATH.
 */
#include <atomic>
#include <cstdio>

#include "victory/victory.h"

void vgpssTellStatusData(VgpssService*, unsigned, VgpscReceiverStatusData, const VgpscDateTime*) {
    static std::atomic<int> told{0};
    if (const int count = ++told; count % 10000 == 0) {
        std::printf("told %d\n", count);
        std::fflush(stdout);
    }
}
