#include "ASPN/Publishing.h"

#include <cstdio>
#include <cstdlib>

#include "ASPN/FaultHysteresis.h"

namespace ASPN2 {
namespace {

/** Of warnings: how long they count [s], how many make a fault, how many are kept. */
constexpr int warningAge = 180;
constexpr int warningThreshold = 16;
constexpr int warningHistory = 2000;

}  // namespace

void startFaultHysteresis() {
    if (!FaultHysteresis::Instance().OkInitFaultHysteresis(warningAge, warningThreshold,
                                                           warningHistory)) {
        std::perror("Unable to configure the Fault Hysteresis\n");
        std::exit(-1);
    }
}

}  // namespace ASPN2
