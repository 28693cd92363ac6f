#include "victory/src/PublishGroups.h"

#include <algorithm>

namespace victory {

namespace {

// Bounds that the clock's arithmetic is safe within.
constexpr double kShortestSeconds = 0.001;
constexpr double kLongestSeconds = 1e9;

}  // namespace

bool PublishGroups::setPeriod(int group, double seconds) {
    if (!(seconds > 0)) {  // so that a NaN is refused too
        return false;
    }
    const std::chrono::duration<double> period(
        std::clamp(seconds, kShortestSeconds, kLongestSeconds));
    m_groups[group].period = std::chrono::duration_cast<Clock::duration>(period);
    return true;
}

void PublishGroups::setCallback(int group, VgpssTellCallback function, void* data) {
    m_groups[group].callback = {function, data};
}

void PublishGroups::start(const std::shared_ptr<VgpssService>& owner) {
    for (auto& [number, group] : m_groups) {
        if (group.callback.function != nullptr && group.period.count() != 0) {
            group.thread = Thread("victory-group",
                                  [this, owner, &settings = group] { run(settings, owner.get()); });
        }
    }
}

void PublishGroups::refuse() {
    const utilities::MutexLock lock(m_mutex);
    m_refusing = true;
    m_wake.notify_all();
}

void PublishGroups::finish() {
    for (auto& [number, group] : m_groups) {
        group.thread.finish();
    }
}

void PublishGroups::run(const Group& group, VgpssService* service) {
    Clock::time_point due = Clock::now() + group.period;
    while (waitUntil(due)) {
        group.callback.function(group.callback.data, service);
        due += ((Clock::now() - due) / group.period + 1) * group.period;
    }
}

/** False when no more calls are to come. */
bool PublishGroups::waitUntil(Clock::time_point due) {
    const utilities::MutexLock lock(m_mutex);
    while (!m_refusing && Clock::now() < due) {
        m_wake.wait_until(m_mutex, due);
    }
    return !m_refusing;
}

}  // namespace victory
