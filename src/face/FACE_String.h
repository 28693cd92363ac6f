/** A text that either owns its characters or works in a buffer that belongs to the caller. */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace FACE {

/** Managed: the characters lie in a store of the string's own, which grows. External: they lie in a
 *  buffer that somebody else owns, outlives the string, and that it never frees.
 *
 *  No operation throws. A string whose construction or assignment failed is invalid and answers
 *  every read harmlessly: 0, false, null or the NUL. Not locked: one thread at a time.
 */
class String {
public:
    enum RETURN_CODE : std::uint32_t {
        NO_ERROR = 0,
        INSUFFICIENT_BOUND = 1,     ///< the result would pass the bound; nothing was changed
        INSUFFICIENT_MEMORY = 2,    ///< the managed store failed to grow
        PRECONDITION_VIOLATED = 3,  ///< an argument, or this string, is not valid
    };

    /** The bound of a string that has none. */
    static constexpr std::uint32_t UNBOUNDED = 0xFFFFFFFFU;

    /** Managed, empty, unbounded. */
    String() noexcept = default;

    /** Managed and empty. `bound` is 1 to 0xFFFFFFFE, else the string is invalid.
     *  NO_ERROR or PRECONDITION_VIOLATED.
     */
    String(std::uint32_t bound, RETURN_CODE& rc) noexcept;

    /** A managed copy of `text`, whose length is the bound. NO_ERROR, PRECONDITION_VIOLATED for a
     *  null `text`, INSUFFICIENT_MEMORY.
     */
    String(const char* text, RETURN_CODE& rc) noexcept;

    /** External, over `buffer` of at least `bound` + 1 bytes, whose first `length` are the text; a
     *  NUL is put behind them. `bound` is 1 to 0xFFFFFFFE and at least `length`.
     *  NO_ERROR, or PRECONDITION_VIOLATED with the buffer untouched.
     */
    String(char* buffer, std::uint32_t length, std::uint32_t bound, RETURN_CODE& rc) noexcept;

    /** External: a view of `text`, no copy, its length the bound; invalid when null. Implicit, as
     *  it is how a literal or a c_str() is passed. Lives no longer than the text behind it.
     */
    String(const char* text) noexcept;

    /** Managed, whatever the mode of `other`, with its bound. */
    String(const String& other) noexcept;

    /** Managed afterwards, with the bound and validity of `other`. A buffer this string worked in
     *  is let go unwritten. From an invalid `other` the characters of the managed store stay.
     */
    String& operator=(const String& other) noexcept;

    ~String() = default;

    bool is_valid() const noexcept { return m_valid; }
    bool is_managed() const noexcept { return m_valid && m_managed; }
    bool is_bounded() const noexcept { return m_valid && m_bound < UNBOUNDED; }
    std::uint32_t bound() const noexcept { return m_valid ? m_bound : 0; }
    std::uint32_t length() const noexcept;

    /** Characters that fit without another allocation; in external mode the bound. */
    std::uint32_t capacity() const noexcept;

    /** The NUL-terminated characters; null when invalid. */
    const char* buffer() const noexcept;
    char* buffer() noexcept;

    /** The characters; empty when invalid. Valid until the string changes. */
    std::string_view view() const noexcept { return {buffer(), length()}; }

    /** The character at `index`, or the NUL at the end for any index past it. */
    const char& operator[](std::uint32_t index) const noexcept;
    char& operator[](std::uint32_t index) noexcept;

    /** Empties the string; the store stays as large as it was. Writes to the text behind a view, so
     *  never call it on a view of read-only text.
     */
    void clear() noexcept;

    /** Adds at the end: NO_ERROR, PRECONDITION_VIOLATED when this string or `other` is invalid,
     *  INSUFFICIENT_BOUND, INSUFFICIENT_MEMORY. A view is full, as its bound is its length.
     */
    RETURN_CODE append(const String& other) noexcept;
    RETURN_CODE append(const char& character) noexcept;

private:
    RETURN_CODE add(std::string_view added) noexcept;

    std::string m_text;
    std::uint32_t m_bound = UNBOUNDED;
    bool m_valid = true;
    bool m_managed = true;
    char* m_external = nullptr;
    std::uint32_t m_externalLength = 0;
};

}  // namespace FACE
