#include "ioss_mcsq/mcsQport.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <thread>

#include "utilities/Console.h"
#include "utilities/DeviceRoot.h"

namespace {

using namespace std::chrono_literals;

/** A write is tried again after this much at the latest, whatever poll says: a device need not tell
 *  when it has room. */
constexpr std::chrono::milliseconds longestPoll = 20ms;
/** Before a try that poll has called for: it may do so all the time, of a device without room. */
constexpr std::chrono::milliseconds pauseBeforeTry = 1ms;

/** What `call` gives once no signal has interrupted it. */
template <typename Call>
auto uninterrupted(const Call& call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

int openFile(const char* name, int mode, const char* direction) {
    const std::string path = utilities::resolvePath(name);
    const int descriptor = uninterrupted([&] { return ::open(path.c_str(), mode | O_CLOEXEC); });
    if (descriptor == -1) {
        utilities::printErrorLine("Unable to open ", direction, " pipe file: ", name);
    }
    return descriptor;
}

}  // namespace

mcsQport::~mcsQport() {
    if (m_isOpen) {
        ::close(m_descriptor);
    }
}

void mcsQport::set_filename(const char* name) {
    m_filename = name;
    m_hasFilename = name != nullptr;
}

const char* mcsQport::get_filename() const {
    return m_hasFilename ? m_filename : "";
}

int mcsQport::can_open_file() const {
    if (!m_hasFilename) {
        return -1;
    }
    const int descriptor = openFile(m_filename, O_WRONLY, "output");
    if (descriptor == -1) {
        return 0;
    }
    ::close(descriptor);
    return 1;
}

int mcsQport::openPortForRead() {
    return open(O_RDONLY, "input");
}

int mcsQport::openPortForWrite() {
    return open(O_WRONLY, "output");
}

int mcsQport::open(int mode, const char* direction) {
    if (!m_hasFilename) {
        return -1;
    }
    if (m_isOpen) {
        ::close(m_descriptor);
    }
    m_descriptor = openFile(m_filename, mode, direction);
    m_isOpen = m_descriptor != -1;
    return m_descriptor;
}

ssize_t mcsReaderPort::readFromPort(void* buffer, int length) {
    if (!is_file_open() || length < 0) {
        return 0;
    }
    return uninterrupted(
        [&] { return ::read(getFileDescriptor(), buffer, static_cast<std::size_t>(length)); });
}

int mcsWriterPort::openPort() {
    const int descriptor = openPortForWrite();
    if (descriptor != -1) {
        struct stat status {};
        m_isPipe = ::fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
        ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
    }
    return descriptor;
}

ssize_t mcsWriterPort::writeToPort(const void* buffer, int length) {
    if (!is_file_open() || length < 0) {
        return 0;
    }
    const auto* const bytes = static_cast<const unsigned char*>(buffer);
    const auto size = static_cast<std::size_t>(length);
    const auto deadline = std::chrono::steady_clock::now() + (m_stalled ? 0ms : writeLimit);
    std::size_t sent = 0;
    for (;;) {
        const ssize_t taken =
            uninterrupted([&] { return ::write(getFileDescriptor(), bytes + sent, size - sent); });
        const bool full = taken == -1 && errno == EAGAIN;
        sent += static_cast<std::size_t>(std::max<ssize_t>(taken, 0));
        if (sent == size || !(full || (m_isPipe && taken > 0))) {
            m_stalled = false;
            return sent == 0 ? taken : static_cast<ssize_t>(sent);
        }
        if (!waitForRoom(deadline)) {
            m_stalled = true;
            errno = EAGAIN;
            return sent == 0 ? -1 : static_cast<ssize_t>(sent);
        }
    }
}

bool mcsWriterPort::waitForRoom(Deadline deadline) const {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left <= 0ms) {
        return false;
    }
    pollfd entry{getFileDescriptor(), POLLOUT, 0};
    if (::poll(&entry, 1, static_cast<int>(std::min(left, longestPoll).count())) > 0) {
        std::this_thread::sleep_for(pauseBeforeTry);
    }
    return true;
}
