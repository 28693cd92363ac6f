#include "victory/src/Workers.h"

#include <stdexcept>
#include <utility>

namespace victory {

void Workers::submit(std::function<void()> task) {
    const utilities::MutexLock lock(m_mutex);
    if (m_refusing) {
        throw std::runtime_error("the service is ending");
    }
    if (m_tasks.size() >= m_free) {
        m_threads.emplace_back("victory-request", [this, owner = m_owner.lock()] { run(); });
        ++m_free;
    }
    m_tasks.push_back(std::move(task));
    m_wake.notify_one();
}

void Workers::refuse() {
    const utilities::MutexLock lock(m_mutex);
    m_refusing = true;
    m_tasks.clear();
    m_wake.notify_all();
}

void Workers::finish() {
    std::vector<Thread> threads;
    {
        const utilities::MutexLock lock(m_mutex);
        threads.swap(m_threads);
    }
    for (Thread& thread : threads) {
        thread.finish();
    }
}

void Workers::run() {
    utilities::MutexLock lock(m_mutex);
    while (true) {
        while (m_tasks.empty() && !m_refusing) {
            m_wake.wait(m_mutex);
        }
        if (m_refusing) {
            return;
        }
        const std::function<void()> task = std::move(m_tasks.front());
        m_tasks.pop_front();
        --m_free;
        lock.unlock();
        task();
        lock.lock();
        ++m_free;
    }
}

}  // namespace victory
