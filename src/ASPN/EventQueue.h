/** The buffer between those who report events and the thread that publishes them. */
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <string>

#include "utilities/Mutex.h"

namespace ASPN2 {

/** Plain events are bounded in number, delivered once and refused when the queue is full.
 *
 *  Configuration events are never refused and come back a fixed period after each delivery for as
 *  long as the queue lives, so that a late subscriber still learns them. Safe from any thread; the
 *  only call that waits is pop_front.
 */
class EventQueue {
public:
    struct EventItem {
        bool isConfig;
        std::int32_t type;
        std::string text;
        std::uint32_t id;  ///< Hash of a configuration event's text; 0 for a plain event.
    };

    struct ConfigItem {
        std::string text;
        std::uint32_t id;
        std::chrono::steady_clock::time_point repeatAt;
    };

    /** `maxEvents`: bound on events waiting. `configType`: the type that configuration events are
     *  delivered with. `repeatPeriod`: from one delivery of a configuration event to the next.
     */
    EventQueue(unsigned maxEvents, int configType, const std::chrono::nanoseconds& repeatPeriod);

    /** Events waiting, and configuration events due again later. */
    std::size_t size() const EXCLUDES(m_mutex);

    /** False, with the event dropped, when `maxEvents` events of either kind already wait. */
    bool push_back(int type, std::string text) EXCLUDES(m_mutex);

    /** Returns the event's id. Equal texts have equal ids. */
    std::uint32_t push_back_config(std::string text) EXCLUDES(m_mutex);

    /** The same in place of the event `oldId`, if there is one. Of several events with that id only
     *  the first that waits and the first that is due later go.
     */
    std::uint32_t push_back_config(std::string text, std::uint32_t oldId) EXCLUDES(m_mutex);

    /** Takes the oldest event, waiting for one for at most `timeout`. False when there was none. */
    bool pop_front(int& type, std::string& text, const std::chrono::nanoseconds& timeout)
        EXCLUDES(m_mutex);

private:
    void enqueue(EventItem item) REQUIRES(m_mutex);
    std::uint32_t appendConfig(std::string text) REQUIRES(m_mutex);
    void eraseConfig(std::uint32_t id) REQUIRES(m_mutex);
    void repeatConfigs() REQUIRES(m_mutex);

    const std::uint32_t m_maxEvents;
    const std::int32_t m_configType;
    const std::chrono::nanoseconds m_repeatPeriod;

    mutable utilities::Mutex m_mutex;
    utilities::Condition m_condition;  ///< Signalled for each event that is queued.
    std::deque<EventItem> m_events GUARDED_BY(m_mutex);  ///< Waiting, oldest first.
    /** Size of `m_events`, changed with it. Read without the lock, so that a storm of events that
     *  find the queue full costs its threads no meeting. */
    std::atomic<std::size_t> m_waiting{0};
    /** Delivered and due again, ordered by `repeatAt`, since each enters with the same period. */
    std::deque<ConfigItem> m_configs GUARDED_BY(m_mutex);
};

}  // namespace ASPN2
