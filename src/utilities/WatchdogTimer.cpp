#include "utilities/WatchdogTimer.h"

#include <stdexcept>

#include "utilities/Console.h"

using utilities::MutexLock;

namespace {

/** The timer whose thread this is. */
thread_local const WatchdogTimer* ownTimer = nullptr;

}  // namespace

WatchdogTimer::~WatchdogTimer() {
    cancelWatchdog();
}

void WatchdogTimer::start(Milliseconds period, const std::function<void()>& callback) {
    if (ownTimer == this) {
        throw std::logic_error("startWatchdog called by the timer's own callback");
    }
    const MutexLock control(m_control);
    stop();
    const MutexLock lock(m_mutex);
    m_active = true;
    m_durationMs = period;
    m_callback = callback;
    m_begin = Clock::now();
    m_thread = std::thread(&WatchdogTimer::run, this);
}

void WatchdogTimer::cancelWatchdog() {
    // The timer's own thread stops by itself once the callback returns, and may not wait for
    // another that holds m_control to join it.
    if (ownTimer != this) {
        const MutexLock control(m_control);
        stop();
    }
}

void WatchdogTimer::stop() {
    if (!m_thread.joinable()) {
        return;
    }
    {
        const MutexLock lock(m_mutex);
        m_active = false;
        m_durationMs = Milliseconds(0);
    }
    m_condition.notify_all();
    m_thread.join();
}

void WatchdogTimer::run() {
    ownTimer = this;
    const MutexLock lock(m_mutex);
    while (m_active) {
        const Clock::time_point deadline = m_begin.load() + m_durationMs;
        if (Clock::now() >= deadline) {
            m_active = false;
            expire();
        } else {
            m_condition.wait_until(m_mutex, deadline);
        }
    }
}

void WatchdogTimer::expire() {
    try {
        m_callback();
    } catch (const std::exception& e) {
        utilities::printLine("WatchdogTimer: callback threw: ", e.what());
    } catch (...) {
        utilities::printLine("WatchdogTimer: callback threw: <unknown>");
    }
}
