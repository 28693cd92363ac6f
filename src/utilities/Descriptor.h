/** Ownership of a file descriptor. */
#pragma once

#include <unistd.h>

#include <utility>

namespace utilities {

/** Owns one open file descriptor, or none. */
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~Descriptor() { close(); }

    bool isOpen() const { return m_descriptor >= 0; }
    /** -1 when there is none. */
    int get() const { return m_descriptor; }
    /** False when nothing was open, or the system reports a late write error. */
    bool close() {
        const int descriptor = std::exchange(m_descriptor, -1);
        return descriptor >= 0 && ::close(descriptor) == 0;
    }

private:
    int m_descriptor = -1;
};

}  // namespace utilities
