#include "utilities/OutputRedirector.h"

#include <stdio_ext.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>

#include "utilities/Mutex.h"

namespace {

using utilities::MutexLock;

/** Taken inside the captured stream's own lock, and held while the writer runs: so never lock that
 *  stream, nor print, with this one held.
 */
utilities::Mutex redirectionMutex;

/** The streams of before; null while no redirection is in force. */
std::FILE* originalStdOutStreamDest GUARDED_BY(redirectionMutex) = nullptr;
std::FILE* originalStdErrStreamDest GUARDED_BY(redirectionMutex) = nullptr;

/** Where the prints of a writer go that runs on this thread. */
thread_local std::FILE* outputOfWriter = nullptr;

ssize_t writeThrough(std::FILE* stream, const char* buffer, std::size_t size) {
    std::fwrite(buffer, 1, size, stream);
    std::fflush(stream);
    return static_cast<ssize_t>(size);
}

/** Marks this thread as inside the writer.
 *
 *  The stream calls for a write before it has emptied its buffer. Emptying it here lets the writer
 *  print on the same stream; what it leaves there unfinished is pushed out at the end.
 */
class InsideWriter {
public:
    InsideWriter(std::FILE* captured, std::FILE* output) : m_captured(captured) {
        __fpurge(m_captured);
        outputOfWriter = output;
    }
    ~InsideWriter() {
        fflush_unlocked(m_captured);
        outputOfWriter = nullptr;
    }
    InsideWriter(const InsideWriter&) = delete;
    InsideWriter& operator=(const InsideWriter&) = delete;

private:
    std::FILE* const m_captured;
};

}  // namespace

COutputRedirector* COutputRedirector::s_current = nullptr;

COutputRedirector::~COutputRedirector() {
    reset();
}

bool COutputRedirector::redirect(Writer writer) {
    std::FILE* const captured = capturedStream();
    if (captured == nullptr || !writer) {
        return false;
    }
    const MutexLock lock(redirectionMutex);
    if (originalStdOutStreamDest != nullptr) {
        return false;
    }
    m_writer = std::move(writer);
    s_current = this;
    originalStdOutStreamDest = std::exchange(stdout, captured);
    originalStdErrStreamDest = std::exchange(stderr, captured);
    return true;
}

void COutputRedirector::reset() {
    {
        const MutexLock lock(redirectionMutex);
        if (s_current != this) {
            return;
        }
        stdout = originalStdOutStreamDest;
        stderr = originalStdErrStreamDest;
    }
    std::fflush(capturedStream());
    const MutexLock lock(redirectionMutex);
    s_current = nullptr;
    originalStdOutStreamDest = nullptr;
    originalStdErrStreamDest = nullptr;
}

/** Opened once and never closed: the library may have kept a pointer to it, or be in the middle of
 *  a print when the redirection ends.
 */
std::FILE* COutputRedirector::capturedStream() {
    static char buffer[16384];
    static std::FILE* const stream = [] {
        std::FILE* opened = fopencookie(&s_current, "w", {nullptr, file_write, nullptr, nullptr});
        if (opened != nullptr) {
            std::setvbuf(opened, buffer, _IOLBF, sizeof buffer);
        }
        return opened;
    }();
    return stream;
}

ssize_t COutputRedirector::file_write(void* /*cookie*/, const char* buffer, std::size_t size) {
    if (outputOfWriter != nullptr) {
        return writeThrough(outputOfWriter, buffer, size);
    }
    try {
        const MutexLock lock(redirectionMutex);
        return s_current != nullptr ? s_current->deliver(originalStdOutStreamDest, buffer, size)
                                    : writeThrough(stdout, buffer, size);
    } catch (...) {
        return 0;
    }
}

ssize_t COutputRedirector::deliver(std::FILE* original, const char* buffer, std::size_t size) {
    const std::string text(buffer, std::min<std::size_t>(size, std::numeric_limits<int>::max()));
    int taken = 0;
    {
        const InsideWriter inside(capturedStream(), original);
        taken = m_writer(text.c_str(), static_cast<unsigned>(text.size()));
    }
    if (taken == 0) {
        return writeThrough(original, text.data(), text.size());
    }
    return std::clamp<ssize_t>(taken, 0, static_cast<ssize_t>(text.size()));
}
