#include "ioss_mcsq/mcsQport.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "utilities/Console.h"
#include "utilities/DeviceRoot.h"

namespace {

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

ssize_t mcsWriterPort::writeToPort(const void* buffer, int length) {
    if (!is_file_open() || length < 0) {
        return 0;
    }
    return uninterrupted(
        [&] { return ::write(getFileDescriptor(), buffer, static_cast<std::size_t>(length)); });
}
