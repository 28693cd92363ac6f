#include "face/FACE_String.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace FACE {

namespace {

constexpr std::uint32_t LOWEST_BOUND = 1;
constexpr std::uint32_t HIGHEST_BOUND = String::UNBOUNDED - 1;

bool isBound(std::uint32_t bound) {
    return bound >= LOWEST_BOUND && bound <= HIGHEST_BOUND;
}

/** False when the store could not grow; it is unchanged then. `text` may lie within the store. */
bool assignTo(std::string& store, std::string_view text) noexcept {
    try {
        store.assign(text);
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace

String::String(std::uint32_t bound, RETURN_CODE& rc) noexcept
    : m_bound(bound), m_valid(isBound(bound)) {
    rc = m_valid ? NO_ERROR : PRECONDITION_VIOLATED;
}

String::String(const char* text, RETURN_CODE& rc) noexcept {
    const String source(text);
    *this = source;
    rc = m_valid ? NO_ERROR : source.m_valid ? INSUFFICIENT_MEMORY : PRECONDITION_VIOLATED;
}

String::String(char* buffer, std::uint32_t length, std::uint32_t bound, RETURN_CODE& rc) noexcept
    : m_bound(bound),
      m_valid(buffer != nullptr && isBound(bound) && bound >= length),
      m_managed(false),
      m_external(buffer),
      m_externalLength(length) {
    rc = m_valid ? NO_ERROR : PRECONDITION_VIOLATED;
    if (m_valid) {
        m_external[length] = '\0';
    }
}

String::String(const char* text) noexcept : m_managed(false) {
    const std::size_t length = text == nullptr ? 0 : std::strlen(text);
    m_valid = text != nullptr && length <= HIGHEST_BOUND;
    if (m_valid) {
        // Only `clear` and the mutable accessors write here, and callers keep them off views.
        m_external = const_cast<char*>(text);
        m_externalLength = static_cast<std::uint32_t>(length);
        m_bound = m_externalLength;
    }
}

String::String(const String& other) noexcept
    : m_bound(other.m_bound), m_valid(other.m_valid && assignTo(m_text, other.view())) {}

// A source that is this very string needs no case of its own: its characters are copied before the
// external buffer is let go.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
String& String::operator=(const String& other) noexcept {
    m_valid = other.m_valid && assignTo(m_text, other.view());
    m_bound = other.m_bound;
    m_managed = true;
    m_external = nullptr;
    m_externalLength = 0;
    return *this;
}

std::uint32_t String::length() const noexcept {
    if (!m_valid) {
        return 0;
    }
    return m_managed ? static_cast<std::uint32_t>(m_text.size()) : m_externalLength;
}

std::uint32_t String::capacity() const noexcept {
    if (!m_valid) {
        return 0;
    }
    constexpr std::size_t highest = UNBOUNDED;
    return m_managed ? static_cast<std::uint32_t>(std::min(m_text.capacity(), highest)) : m_bound;
}

const char* String::buffer() const noexcept {
    if (!m_valid) {
        return nullptr;
    }
    return m_managed ? m_text.c_str() : m_external;
}

char* String::buffer() noexcept {
    return const_cast<char*>(std::as_const(*this).buffer());
}

const char& String::operator[](std::uint32_t index) const noexcept {
    if (!m_valid) {
        return m_text.c_str()[m_text.size()];
    }
    return buffer()[std::min(index, length())];
}

char& String::operator[](std::uint32_t index) noexcept {
    return const_cast<char&>(std::as_const(*this)[index]);
}

void String::clear() noexcept {
    if (!m_valid) {
        return;
    }
    m_text.clear();
    m_externalLength = 0;
    if (!m_managed) {
        *m_external = '\0';
    }
}

String::RETURN_CODE String::append(const String& other) noexcept {
    return other.m_valid ? add(other.view()) : PRECONDITION_VIOLATED;
}

String::RETURN_CODE String::append(const char& character) noexcept {
    return add(std::string_view(&character, 1));
}

String::RETURN_CODE String::add(std::string_view added) noexcept {
    if (!m_valid) {
        return PRECONDITION_VIOLATED;
    }
    // An unbounded string ends at 0xFFFFFFFF characters too, as its length has 32 bits.
    const std::uint64_t total = std::uint64_t{length()} + added.size();
    if (total > m_bound) {
        return INSUFFICIENT_BOUND;
    }
    if (added.empty()) {
        return NO_ERROR;
    }
    if (!m_managed) {
        std::memmove(m_external + m_externalLength, added.data(), added.size());
        m_externalLength = static_cast<std::uint32_t>(total);
        m_external[m_externalLength] = '\0';
        return NO_ERROR;
    }
    try {
        m_text.append(added);
    } catch (...) {
        return INSUFFICIENT_MEMORY;
    }
    return NO_ERROR;
}

}  // namespace FACE
