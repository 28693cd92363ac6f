/** Owner of one file descriptor. */
#pragma once

#include <string>
#include <system_error>
#include <utility>

#include <unistd.h>
#include <cerrno>

namespace bench {

/** Moves; empty (-1) when made so, moved from or reset. Not safe to share between threads. */
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~Descriptor() { reset(); }

    int get() const { return m_fd; }
    explicit operator bool() const { return m_fd != -1; }
    void reset() {
        if (m_fd != -1) {
            ::close(std::exchange(m_fd, -1));
        }
    }

private:
    int m_fd = -1;
};

/** `result` of a system call; -1 raises std::system_error with the errno and `what` was tried. */
inline int checked(int result, const std::string& what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

}  // namespace bench
