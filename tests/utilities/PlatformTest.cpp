#include <gtest/gtest.h>
#include <sched.h>

#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

#include "support/Captured.h"
#include "utilities/DeviceRoot.h"
#include "utilities/scheduling.h"

namespace {

/** What `action` prints, on a thread of its own that takes its settings with it. */
template <typename Action>
std::string printedOnAThread(Action action) {
    const Captured text;
    std::thread(action).join();
    return text.text();
}

TEST(Scheduling, AffinityTiesTheThreadToOneProcessor) {
    cpu_set_t allowed;
    ASSERT_EQ(sched_getaffinity(0, sizeof allowed, &allowed), 0);
    std::string all;
    unsigned last = 0;
    for (unsigned cpu = 1; cpu <= CPU_SETSIZE; ++cpu) {
        if (CPU_ISSET(cpu - 1, &allowed)) {
            all += "Has CPU Affinity for CPU" + std::to_string(cpu) + "\n";
            last = cpu;
        }
    }
    bool ok = false;
    const unsigned char beyondAll = CPU_ISSET(254, &allowed) ? 0 : 255;
    for (const unsigned char absent : {static_cast<unsigned char>(0), beyondAll}) {
        EXPECT_EQ(printedOnAThread([&] { ok = okSetCpuAffinity(absent); }), all);
        EXPECT_FALSE(ok);
    }
    if (last > 255) {
        GTEST_SKIP() << "no processor here that a byte can number";
    }
    EXPECT_EQ(printedOnAThread([&] { ok = okSetCpuAffinity(static_cast<unsigned char>(last)); }),
              "Has CPU Affinity for CPU" + std::to_string(last) + "\n");
    EXPECT_TRUE(ok);
}

TEST(Scheduling, PriorityIsHeldToTheSystemsRange) {
    struct Case {
        unsigned char priority;
        int set;
    };
    for (const Case& c : {Case{0, 1}, {7, 7}, {255, 99}}) {
        bool ok = false;
        int policy = -1;
        sched_param param{};
        const std::string printed = printedOnAThread([&] {
            ok = okSetRealtimeProcessPriority(c.priority);
            policy = sched_getscheduler(0);
            sched_getparam(0, &param);
        });
        EXPECT_EQ(printed, "");
        EXPECT_EQ(policy, ok ? SCHED_FIFO : SCHED_OTHER);
        EXPECT_EQ(param.sched_priority, ok ? c.set : 0);
    }
}

TEST(DeviceRoot, OnlyThePlatformsPathsLieBelowIt) {
    struct Case {
        const char *root, *path, *resolved;
    };
    for (const Case& c : {Case{nullptr, "/dev/mem", "/dev/mem"},
                          {"", "/dev/mcs3", "/dev/mcs3"},
                          {"/r", "/dev/mem", "/r/dev/mem"},
                          {"/r//", "/dev/mcs12", "/r/dev/mcs12"},
                          {"/r", "/opt/halcyrine/config/a.xml", "/r/opt/halcyrine/config/a.xml"},
                          {"/r", "/etc/passwd", "/etc/passwd"},
                          {"/r", "config/a.xml", "config/a.xml"}}) {
        if (c.root == nullptr) {
            unsetenv("HALCYRINE_ROOT");
        } else {
            setenv("HALCYRINE_ROOT", c.root, 1);
        }
        EXPECT_EQ(utilities::resolvePath(c.path), c.resolved);
    }
    unsetenv("HALCYRINE_ROOT");
}

}  // namespace
