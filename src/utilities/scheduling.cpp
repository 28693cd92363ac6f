#include "utilities/scheduling.h"

#include <sched.h>

#include <algorithm>
#include <string>

#include "utilities/Console.h"

bool okSetRealtimeProcessPriority(unsigned char priority) {
    int lowest = sched_get_priority_min(SCHED_FIFO);
    int highest = sched_get_priority_max(SCHED_FIFO);
    if (lowest == -1 || highest == -1) {
        lowest = 1;
        highest = 99;
    }
    sched_param param{};
    param.sched_priority = std::clamp<int>(priority, lowest, highest);
    return sched_setscheduler(0, SCHED_FIFO, &param) != -1;
}

bool okSetCpuAffinity(unsigned char cpu) {
    cpu_set_t cpus;
    CPU_ZERO(&cpus);
    if (cpu > 0) {
        CPU_SET(static_cast<unsigned>(cpu) - 1, &cpus);
    }
    const bool ok = sched_setaffinity(0, sizeof cpus, &cpus) != -1;
    if (sched_getaffinity(0, sizeof cpus, &cpus) != -1) {
        std::string lines;
        for (unsigned i = 0; i < CPU_SETSIZE; ++i) {
            if (CPU_ISSET(i, &cpus)) {
                lines += utilities::concat("Has CPU Affinity for CPU", i + 1, '\n');
            }
        }
        utilities::writeOut(lines);
    }
    return ok;
}
