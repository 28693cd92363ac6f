/** Stamps warnings and errors with their place of origin and keeps a bounded history of warnings.
 */
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "ASPN/EventTypes.h"
#include "utilities/Mutex.h"

/** Stands between a caller of HealthReporter::SendEvent and the event queue.
 *
 *  Passes every event through unchanged until OkInitFaultHysteresis has given it a threshold and a
 *  history, and again when one of them is set to 0. Safe from any thread.
 */
class FaultHysteresis {
public:
    using Clock = std::chrono::steady_clock;

    struct fault_entry {
        std::string key;  ///< Full path of the source file, then the line in decimal.
        Clock::time_point when;
    };

    /** `now` tells the time. */
    explicit FaultHysteresis(Clock::time_point (*now)() = Clock::now) : m_now(now) {}

    /** The one of the process, made at first use. */
    static FaultHysteresis& Instance();

    /** Sets the age limit of an entry [s] (0: none), the threshold and the size of the history, and
     *  empties the history. False, with nothing changed, when any of the three is negative.
     */
    bool OkInitFaultHysteresis(int maxAgeSeconds, int threshold, int historySize) EXCLUDES(m_mutex);

    /** The text to publish for an event raised at `file` and `line`.
     *
     *  Types 3, 4 and 5 get `file[line]:` in front, `file` without its directory; a warning also
     *  enters the history, in place of the oldest entry when that is full. May rewrite `type`.
     */
    std::string Check(EventTypes::eEventType& type, const std::string& file, int line,
                      const std::string& text) EXCLUDES(m_mutex);

    /** The history's keys, oldest first. */
    std::deque<std::string> historyKeys() const EXCLUDES(m_mutex);

private:
    EventTypes::eEventType record(EventTypes::eEventType type, const std::string& file,
                                  const std::string& place) EXCLUDES(m_mutex);
    /** A place behind all entries, the oldest one's when the history is full. */
    fault_entry& newest() REQUIRES(m_mutex);
    void dropOldest() REQUIRES(m_mutex);
    /** Drops the entries past the age limit. */
    void service(Clock::time_point now) REQUIRES(m_mutex);
    /** The type to publish with: that of the event, whatever the history holds. */
    EventTypes::eEventType hysteresis(EventTypes::eEventType type, const std::string& key) const
        REQUIRES(m_mutex);

    Clock::time_point (*const m_now)();

    // Written at start-up while other threads may already raise events.
    std::atomic<std::int32_t> m_maxAgeSeconds = 0;
    std::atomic<std::int32_t> m_threshold = 0;
    std::atomic<std::int32_t> m_historySize = 0;

    mutable utilities::Mutex m_mutex;
    /** A ring that grows up to the bound. Entries that go leave their text's memory to those that
     *  come: in a storm of warnings nothing is allocated in one thread and freed in another. */
    std::vector<fault_entry> m_history GUARDED_BY(m_mutex);
    std::size_t m_oldest GUARDED_BY(m_mutex) = 0;
    std::size_t m_count GUARDED_BY(m_mutex) = 0;
};
