/** Wakes a thread that waits in poll. */
#pragma once

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

#include "victory/socket/Descriptor.h"

namespace victory {

/** An event that poll waits for. Any thread may wake; waking neither waits nor allocates. */
class Waker {
public:
    /** Throws std::system_error. */
    Waker() : m_event(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
        if (!m_event.isOpen()) {
            throw std::system_error(errno, std::generic_category(), "eventfd");
        }
    }

    int descriptor() const { return m_event.get(); }
    /** Fails only when the event is raised to the brim, and then the thread wakes all the same. */
    void wake() {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(m_event.get(), &one, sizeof one);
    }
    /** Takes all wakes so far. */
    void clear() {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t taken = ::read(m_event.get(), &count, sizeof count);
    }

private:
    Descriptor m_event;
};

}  // namespace victory
