/** A thread of the library. */
#pragma once

#include <pthread.h>

#include <functional>

namespace victory {

/** A thread that can be ended from anywhere, also from within itself.
 *
 *  Library threads leave the process's signals to the process (all but those that a fault of the
 *  thread itself raises are blocked) and have a stack of 8 MiB whatever the process's limit says,
 *  since a hot start record of 0.6 MB passes by value through callbacks.
 */
class Thread {
public:
    Thread() = default;
    /** Starts `body`. The name has at most 15 characters. Throws std::system_error. */
    Thread(const char* name, std::function<void()> body);
    Thread(Thread&& other) noexcept;
    Thread& operator=(Thread&& other) noexcept;
    ~Thread() { finish(); }

    /** Waits for the body's end; called by the thread itself, lets it run on by itself. */
    void finish();

private:
    pthread_t m_thread{};
    bool m_running = false;
};

}  // namespace victory
