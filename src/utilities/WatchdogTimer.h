/** A one-shot timer with a thread of its own. */
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "utilities/Deadline.h"
#include "utilities/Mutex.h"

/** Runs a callback once when its period has passed without a pet or a cancel.
 *
 *  Every operation may be called from any thread; starts and cancels take their turns. A start or
 *  cancel that finds the callback running waits for its end, so its caller may hold locks of its
 *  own only when the callback needs none of them.
 *
 *  The callback runs on the timer's thread with the timer's mutex held. It may cancel or pet its
 *  timer, which then changes nothing, but neither start nor destroy it. What it throws ends there,
 *  in a line on the console.
 */
class WatchdogTimer {
public:
    WatchdogTimer() = default;
    ~WatchdogTimer();
    WatchdogTimer(const WatchdogTimer&) = delete;
    WatchdogTimer& operator=(const WatchdogTimer&) = delete;

    /** Cancels the timer if it runs, and arms it anew for `period`, in whole milliseconds and at
     *  most a century. Throws std::logic_error on the timer's own thread.
     */
    template <typename Rep, typename Period>
    void startWatchdog(const std::chrono::duration<Rep, Period>& period,
                       const std::function<void()>& callback) EXCLUDES(m_control, m_mutex) {
        start(toMilliseconds(period), callback);
    }

    /** The period of a running timer begins again; without one nothing happens. Never waits. */
    void petWatchdog() { m_begin = Clock::now(); }

    /** Stops the timer; unless it has expired already the callback doesn't run. */
    void cancelWatchdog() EXCLUDES(m_control, m_mutex);

private:
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::milliseconds;

    /** Compares as double, in which no unit overflows. */
    template <typename Rep, typename Period>
    static constexpr Milliseconds toMilliseconds(const std::chrono::duration<Rep, Period>& period) {
        constexpr auto longest = std::chrono::duration_cast<Milliseconds>(utilities::longestPeriod);
        const bool fits = std::chrono::duration<double, std::milli>(period) <= longest;
        return fits ? std::chrono::duration_cast<Milliseconds>(period) : longest;
    }

    void start(Milliseconds period, const std::function<void()>& callback)
        EXCLUDES(m_control, m_mutex);
    void stop() REQUIRES(m_control) EXCLUDES(m_mutex);
    void run() EXCLUDES(m_mutex);
    void expire() REQUIRES(m_mutex);

    /** Held by whoever starts or stops the thread, also while joining it. */
    utilities::Mutex m_control ACQUIRED_BEFORE(m_mutex);
    std::thread m_thread GUARDED_BY(m_control);  ///< Joinable from a start to the next cancel.

    /** When the period began. A pet moves it, and the thread finds the new deadline at the old one:
     *  so a pet takes no lock, and no wake-up counts as one.
     */
    std::atomic<Clock::time_point> m_begin{};

    /** Held by the timer thread while it runs the callback, and released by it only to wait. */
    utilities::Mutex m_mutex;
    utilities::Condition m_condition;  ///< Signalled when m_active is cleared from outside.
    bool m_active GUARDED_BY(m_mutex) = false;
    Milliseconds m_durationMs GUARDED_BY(m_mutex){0};
    std::function<void()> m_callback GUARDED_BY(m_mutex);
};
