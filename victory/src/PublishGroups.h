/** The publish groups: callbacks at a period. */
#pragma once

#include <chrono>
#include <map>
#include <memory>

#include "utilities/Mutex.h"
#include "victory/src/Callbacks.h"
#include "victory/src/Thread.h"

namespace victory {

/** Calls the tell callback of each group at the group's period, on a thread of the group's own.
 *
 *  The first call comes one period after the start. Calls keep to the beat of the steady clock; one
 *  that takes longer than the period makes the beats it covers fall out. A group with no callback
 *  or no period does nothing.
 */
class PublishGroups {
public:
    /** False for a period that isn't above 0. One below 1 ms counts as 1 ms. Before start. */
    bool setPeriod(int group, double seconds);
    /** Before start. */
    void setCallback(int group, VgpssTellCallback function, void* data);

    /** `owner` is kept alive by every thread. Throws std::system_error. */
    void start(const std::shared_ptr<VgpssService>& owner);

    /** From now on no call begins. */
    void refuse() EXCLUDES(m_mutex);
    /** After refuse: waits for the calls under way, save the one that calls this. */
    void finish();

private:
    using Clock = std::chrono::steady_clock;

    struct Group {
        Clock::duration period{};
        Callback<VgpssTellCallback> callback;
        Thread thread;
    };

    void run(const Group& group, VgpssService* service) EXCLUDES(m_mutex);
    bool waitUntil(Clock::time_point due) EXCLUDES(m_mutex);

    std::map<int, Group> m_groups;  // settings are fixed from start on
    utilities::Mutex m_mutex;
    utilities::Condition m_wake;
    bool m_refusing GUARDED_BY(m_mutex) = false;
};

}  // namespace victory
