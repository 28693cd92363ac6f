/** The warnings that wait for the next status 2 record. */
#pragma once

#include <array>
#include <cstddef>
#include <utility>

#include "victory/victory.h"

/** At most as many warnings as one record carries, oldest first; one more pushes the oldest out.
 *  Lies where its owner lies and allocates nothing. Not locked.
 */
class WarningQueue {
public:
    static constexpr std::size_t capacity = VGPSC_WARNINGS;

    std::size_t size() const { return m_size; }

    void push(const VgpscReceiverWarningMessage& warning) {
        m_warnings[(m_first + m_size) % capacity] = warning;
        if (m_size < capacity) {
            ++m_size;
        } else {
            m_first = (m_first + 1) % capacity;
        }
    }

    /** Moves all warnings into the record's array and returns how many there were. */
    std::size_t drainInto(VgpscReceiverWarningMessage (&out)[VGPSC_WARNINGS]) {
        for (std::size_t i = 0; i < m_size; ++i) {
            out[i] = m_warnings[(m_first + i) % capacity];
        }
        m_first = 0;
        return std::exchange(m_size, 0);
    }

private:
    std::array<VgpscReceiverWarningMessage, capacity> m_warnings{};
    std::size_t m_first = 0;
    std::size_t m_size = 0;
};
