/** A container that either owns its elements or works in an array that belongs to the caller. */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace FACE {

/** Managed: the elements lie in a store of the sequence's own, which grows. External: they lie in
 * an array that somebody else owns, outlives the sequence, and that it never frees.
 *
 *  No operation throws; what an element's copy throws becomes INSUFFICIENT_MEMORY, or an invalid
 *  sequence. An invalid one has length, bound and capacity 0 and a null buffer. Not locked: one
 *  thread at a time.
 *
 *  A buffer that is resized up and down for each use is best external: there `resize` sets the
 * count and touches no element, while a managed sequence fills what it gains with zeros.
 */
template <typename T>
class Sequence {
    static_assert(!std::is_same_v<T, bool>, "elements lie side by side in memory; use a byte");

public:
    enum RETURN_CODE : std::uint32_t {
        NO_ERROR = 0,
        INSUFFICIENT_BOUND = 1,     ///< the result would pass the bound; nothing was changed
        INSUFFICIENT_MEMORY = 2,    ///< no room, or an element failed to copy; nothing was changed
        PRECONDITION_VIOLATED = 3,  ///< an argument, or this sequence, is not valid
    };

    /** The bound of a sequence that has none. */
    static constexpr std::uint32_t UNBOUNDED = 0xFFFFFFFFU;

    /** Managed, empty, unbounded. */
    Sequence() noexcept = default;

    /** Managed and empty, with nothing allocated yet. `bound` is 1 to 0xFFFFFFFE, else the sequence
     *  is invalid. NO_ERROR or PRECONDITION_VIOLATED.
     */
    Sequence(std::uint32_t bound, RETURN_CODE& rc) noexcept
        : m_bound(bound), m_valid(isBound(bound)) {
        rc = m_valid ? NO_ERROR : PRECONDITION_VIOLATED;
    }

    /** A managed copy of `length` elements, `length` the bound. Invalid for a null `elements`, a
     *  length above 0xFFFFFFFE or when the copy fails.
     */
    Sequence(const T* elements, std::size_t length) noexcept {
        m_valid = elements != nullptr && length < UNBOUNDED && assign(elements, length);
        m_bound = m_valid ? static_cast<std::uint32_t>(length) : 0;
    }

    /** External, over `buffer` of at least `bound` elements, of which the first `length` are held.
     *  `bound` is 1 to 0xFFFFFFFE and at least `length`. NO_ERROR or PRECONDITION_VIOLATED.
     */
    Sequence(T* buffer, std::uint32_t length, std::uint32_t bound, RETURN_CODE& rc) noexcept
        : m_bound(bound),
          m_valid(buffer != nullptr && isBound(bound) && bound >= length),
          m_managed(false),
          m_external(buffer),
          m_externalCount(length) {
        rc = m_valid ? NO_ERROR : PRECONDITION_VIOLATED;
    }

    /** Managed, whatever the mode of `other`, with its bound. */
    Sequence(const Sequence& other) noexcept
        : m_bound(other.m_bound),
          m_valid(other.m_valid && assign(other.buffer(), other.length())) {}

    /** Managed afterwards, with the bound and validity of `other`; an array this sequence worked in
     *  is let go unwritten.
     */
    // Self-assignment needs no case of its own: `assign` copies before it lets anything go.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
    Sequence& operator=(const Sequence& other) noexcept {
        m_valid = other.m_valid && assign(other.buffer(), other.length());
        m_bound = other.m_bound;
        m_managed = true;
        m_external = nullptr;
        m_externalCount = 0;
        return *this;
    }

    ~Sequence() = default;

    bool is_valid() const noexcept { return m_valid; }
    bool is_managed() const noexcept { return m_valid && m_managed; }
    bool is_bounded() const noexcept { return m_valid && m_bound < UNBOUNDED; }
    std::uint32_t bound() const noexcept { return m_valid ? m_bound : 0; }

    std::uint32_t length() const noexcept {
        if (!m_valid) {
            return 0;
        }
        return m_managed ? static_cast<std::uint32_t>(m_store.size()) : m_externalCount;
    }

    /** Elements that fit without another allocation; never above the bound. */
    std::uint32_t capacity() const noexcept {
        if (!m_valid || !m_managed) {
            return bound();
        }
        return static_cast<std::uint32_t>(std::min<std::size_t>(m_store.capacity(), m_bound));
    }

    /** The elements side by side; null when invalid, and may be null when empty. */
    const T* buffer() const noexcept {
        if (!m_valid) {
            return nullptr;
        }
        return m_managed ? m_store.data() : m_external;
    }
    T* buffer() noexcept {
        if (!m_valid) {
            return nullptr;
        }
        return m_managed ? m_store.data() : m_external;
    }

    /** `index` is below length(). */
    const T& operator[](std::uint32_t index) const noexcept { return buffer()[index]; }
    T& operator[](std::uint32_t index) noexcept { return buffer()[index]; }

    const T* begin() const noexcept { return buffer(); }
    const T* end() const noexcept { return buffer() + length(); }

    /** Adds a copy at the end. NO_ERROR; PRECONDITION_VIOLATED when invalid, INSUFFICIENT_BOUND,
     *  INSUFFICIENT_MEMORY with nothing added.
     */
    RETURN_CODE append(const T& element) noexcept {
        if (!m_valid) {
            return PRECONDITION_VIOLATED;
        }
        if (length() >= m_bound) {
            return INSUFFICIENT_BOUND;
        }
        return attempt([&] {
            if (m_managed) {
                m_store.push_back(element);
                return;
            }
            m_external[m_externalCount] = element;
            ++m_externalCount;
        });
    }

    /** Takes `count` as the length. Managed: within the present capacity, so without allocating;
     *  elements gained are zero. External: within the bound; elements gained are what the array
     *  holds. NO_ERROR; PRECONDITION_VIOLATED when invalid, INSUFFICIENT_BOUND,
     *  INSUFFICIENT_MEMORY above the capacity.
     */
    RETURN_CODE resize(std::uint32_t count) noexcept {
        const RETURN_CODE within = checkCount(count);
        if (within != NO_ERROR) {
            return within;
        }
        if (!m_managed) {
            m_externalCount = count;
            return NO_ERROR;
        }
        if (count > capacity()) {
            return INSUFFICIENT_MEMORY;
        }
        return attempt([&] { m_store.resize(count); });
    }

    /** Makes room for `count` elements in all. NO_ERROR; PRECONDITION_VIOLATED when invalid,
     *  INSUFFICIENT_BOUND, INSUFFICIENT_MEMORY.
     */
    RETURN_CODE reserve(std::uint32_t count) noexcept {
        const RETURN_CODE within = checkCount(count);
        if (within != NO_ERROR || !m_managed) {
            return within;
        }
        return attempt([&] { m_store.reserve(count); });
    }

private:
    static bool isBound(std::uint32_t bound) noexcept { return bound > 0 && bound < UNBOUNDED; }

    template <typename Work>
    static RETURN_CODE attempt(const Work& work) noexcept {
        try {
            work();
            return NO_ERROR;
        } catch (...) {
            return INSUFFICIENT_MEMORY;
        }
    }

    RETURN_CODE checkCount(std::uint32_t count) const noexcept {
        if (!m_valid) {
            return PRECONDITION_VIOLATED;
        }
        return count > m_bound ? INSUFFICIENT_BOUND : NO_ERROR;
    }

    /** False with the store as it was. The elements may lie in the store itself. */
    bool assign(const T* elements, std::size_t length) noexcept {
        return attempt([&] { m_store = std::vector<T>(elements, elements + length); }) == NO_ERROR;
    }

    std::vector<T> m_store;
    std::uint32_t m_bound = UNBOUNDED;
    bool m_valid = true;
    bool m_managed = true;
    T* m_external = nullptr;
    std::uint32_t m_externalCount = 0;
};

}  // namespace FACE
