/** One job at a time, on a thread of its own. */
#pragma once

#include <functional>
#include <thread>
#include <utility>

#include "utilities/Mutex.h"

/** Runs its job once for each request, except that requests which come while one waits are one. The
 *  thread is started by the first request and inherits that thread's scheduling.
 */
class SerialWorker {
public:
    /** `job` throws nothing. */
    explicit SerialWorker(std::function<void()> job) : m_job(std::move(job)) {}
    ~SerialWorker() { stop(); }
    SerialWorker(const SerialWorker&) = delete;
    SerialWorker& operator=(const SerialWorker&) = delete;

    /** Never waits for the job. Ignored once stopped. Any thread. */
    void request() EXCLUDES(m_mutex) {
        const utilities::MutexLock lock(m_mutex);
        if (m_stopped) {
            return;
        }
        m_requested = true;
        if (!m_thread.joinable()) {
            m_thread = std::thread([this] { run(); });
        }
        m_changed.notify_one();
    }

    /** Waits for the job under way; none starts afterwards. Not from within the job. */
    void stop() EXCLUDES(m_mutex) {
        std::thread thread;
        {
            const utilities::MutexLock lock(m_mutex);
            m_stopped = true;
            m_changed.notify_one();
            thread.swap(m_thread);
        }
        if (thread.joinable()) {
            thread.join();
        }
    }

private:
    void run() EXCLUDES(m_mutex) {
        utilities::MutexLock lock(m_mutex);
        while (!m_stopped) {
            if (!m_requested) {
                m_changed.wait(m_mutex);
                continue;
            }
            m_requested = false;
            lock.unlock();
            m_job();
            lock.lock();
        }
    }

    const std::function<void()> m_job;
    utilities::Mutex m_mutex;
    utilities::Condition m_changed;
    bool m_requested GUARDED_BY(m_mutex) = false;
    bool m_stopped GUARDED_BY(m_mutex) = false;
    std::thread m_thread GUARDED_BY(m_mutex);
};
