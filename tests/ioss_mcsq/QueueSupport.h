/** What the tests of the queue path share. */
#pragma once

#include <unistd.h>

#include <chrono>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>
#include <thread>

#include "utilities/Mutex.h"

/** Allocations of the whole program so far, by new. */
long allocations();

/** Whether `condition` comes to hold before `within` has passed. */
template <typename Condition>
bool eventually(const Condition& condition,
                std::chrono::microseconds within = std::chrono::seconds(20)) {
    const auto deadline = std::chrono::steady_clock::now() + within;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

/** Takes what any thread prints to `stream`, until it goes. Made before the threads start and
 *  destroyed after they end.
 */
class Captured : private std::streambuf {
public:
    explicit Captured(std::ostream& stream) : m_stream(stream), m_before(stream.rdbuf(this)) {}
    ~Captured() override { m_stream.rdbuf(m_before); }
    Captured(const Captured&) = delete;
    Captured& operator=(const Captured&) = delete;

    std::string text() {
        const utilities::MutexLock lock(m_mutex);
        return m_text;
    }

private:
    std::streamsize xsputn(const char* characters, std::streamsize count) override {
        const utilities::MutexLock lock(m_mutex);
        m_text.append(characters, static_cast<std::size_t>(count));
        return count;
    }

    std::ostream& m_stream;
    std::streambuf* m_before;
    utilities::Mutex m_mutex;
    std::string m_text GUARDED_BY(m_mutex);
};

/** Puts all of `bytes` on a pipe at once; there is room for a megabyte. */
inline bool put(int pipe, std::string_view bytes) {
    return ::write(pipe, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
}

/** What waits in a pipe. */
inline std::string takeAll(int pipe) {
    std::string bytes(1 << 20, '\0');
    const ssize_t got = ::read(pipe, bytes.data(), bytes.size());
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
}
