/** The threads that callbacks of clients' requests run on. */
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "utilities/Mutex.h"
#include "victory/src/Thread.h"

namespace victory {

/** Runs tasks at once, each on a thread of its own, and keeps the threads for later tasks: there
 *  are as many as tasks were ever under way together. */
class Workers {
public:
    /** `owner` is kept alive by every thread. Before the first task. */
    void setOwner(std::weak_ptr<void> owner) { m_owner = std::move(owner); }

    /** Throws std::runtime_error when stopping, std::system_error when there is no thread left. */
    void submit(std::function<void()> task) EXCLUDES(m_mutex);

    /** From now on no task begins. Tasks that haven't begun are dropped. */
    void refuse() EXCLUDES(m_mutex);
    /** After refuse: waits for the tasks under way, save the one that calls this. */
    void finish() EXCLUDES(m_mutex);

private:
    void run() EXCLUDES(m_mutex);

    std::weak_ptr<void> m_owner;
    utilities::Mutex m_mutex;
    utilities::Condition m_wake;
    std::deque<std::function<void()>> m_tasks GUARDED_BY(m_mutex);
    std::size_t m_free GUARDED_BY(m_mutex) = 0;  // threads with no task
    std::vector<Thread> m_threads GUARDED_BY(m_mutex);
    bool m_refusing GUARDED_BY(m_mutex) = false;
};

}  // namespace victory
