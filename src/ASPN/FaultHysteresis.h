/** Stamps warnings and errors with their place of origin and keeps a bounded history of warnings.
 */
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
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
 *
 *  The history is kept in a few shares, of which each thread has one, so that threads which raise
 *  warnings all at once don't queue for one lock. Together they hold what one history would; while
 *  several threads storm, up to so many times its size in memory.
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
    bool OkInitFaultHysteresis(int maxAgeSeconds, int threshold, int historySize);

    /** The text to publish for an event raised at `file` and `line`.
     *
     *  Types 3, 4 and 5 get `file[line]:` in front, `file` without its directory; a warning also
     *  enters the history, in place of the oldest entry when that is full. May rewrite `type`.
     */
    std::string Check(EventTypes::eEventType& type, const std::string& file, int line,
                      const std::string& text);

    /** The history's keys, oldest first. */
    std::deque<std::string> historyKeys() const;

private:
    /** Entries oldest first, in a ring that grows up to the bound. Those that go leave their text's
     *  memory to those that come: in a storm of warnings nothing is allocated in one thread and
     *  freed in another. On cache lines of its own. */
    struct alignas(64) Share {
        /** A place behind all entries, the oldest one's where there are `bound` of them. */
        fault_entry& newest(std::size_t bound) REQUIRES(mutex);
        void dropOldest() REQUIRES(mutex);
        const fault_entry& at(std::size_t index) const REQUIRES(mutex) {
            return ring[(oldest + index) % ring.size()];
        }

        mutable utilities::Mutex mutex;
        std::size_t oldest GUARDED_BY(mutex) = 0;
        std::size_t count GUARDED_BY(mutex) = 0;
        std::vector<fault_entry> ring GUARDED_BY(mutex);
    };
    static constexpr std::size_t shares = 4;

    /** The calling thread's. */
    Share& share();
    EventTypes::eEventType record(EventTypes::eEventType type, const std::string& file,
                                  const std::string& place);
    bool tooOld(const fault_entry& entry, Clock::time_point now) const;
    /** Drops the entries past the age limit. */
    void service(Share& share, Clock::time_point now) const REQUIRES(share.mutex);
    /** The type to publish with: that of the event, whatever the history holds. */
    EventTypes::eEventType hysteresis(EventTypes::eEventType type, const std::string& key) const;

    Clock::time_point (*const m_now)();

    // Written at start-up while other threads may already raise events.
    std::atomic<std::int32_t> m_maxAgeSeconds = 0;
    std::atomic<std::int32_t> m_threshold = 0;
    std::atomic<std::int32_t> m_historySize = 0;

    /** One lock at a time. */
    std::array<Share, shares> m_history;
};
