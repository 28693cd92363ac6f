#pragma once

#include <iostream>
#include <streambuf>
#include <string>

#include "utilities/Mutex.h"

/** Takes what any thread prints to `stream`, until it goes. Made before the threads start and
 *  destroyed after they end.
 */
class Captured : private std::streambuf {
public:
    explicit Captured(std::ostream& stream = std::cout)
        : m_stream(stream), m_before(stream.rdbuf(this)) {}
    ~Captured() override { m_stream.rdbuf(m_before); }
    Captured(const Captured&) = delete;
    Captured& operator=(const Captured&) = delete;

    std::string text() const {
        const utilities::MutexLock lock(m_mutex);
        return m_text;
    }

private:
    std::streamsize xsputn(const char* characters, std::streamsize count) override {
        const utilities::MutexLock lock(m_mutex);
        m_text.append(characters, static_cast<std::size_t>(count));
        return count;
    }
    int_type overflow(int_type character) override {
        const char one = traits_type::to_char_type(character);
        return xsputn(&one, 1) == 1 ? character : traits_type::eof();
    }

    std::ostream& m_stream;
    std::streambuf* m_before;
    mutable utilities::Mutex m_mutex;
    std::string m_text GUARDED_BY(m_mutex);
};
