// Whole text files, for the owner of a service.
#include "victory/src/Exported.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <string>

#include "utilities/FileReplace.h"
#include "victory/socket/Descriptor.h"
#include "victory/src/Complaint.h"

namespace {

using victory::Descriptor;

/** Reads until the end or until `capacity` bytes are in; -1 on failure. */
ssize_t readUpTo(int file, char* buffer, std::size_t capacity) {
    std::size_t filled = 0;
    while (filled < capacity) {
        const ssize_t count = ::read(file, buffer + filled, capacity - filled);
        if (count == 0) {
            break;
        }
        if (count < 0 && errno != EINTR) {
            return -1;
        }
        filled += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(filled);
}

}  // namespace

int vutilReadStringFromFile(const char* path, unsigned capacity, char* buffer) {
    if (path == nullptr || buffer == nullptr || capacity == 0) {
        return 1;
    }
    const Descriptor file(::open(path, O_RDONLY | O_CLOEXEC));
    const ssize_t size = file.isOpen() ? readUpTo(file.get(), buffer, capacity) : -1;
    const bool fits = size >= 0 && size < static_cast<ssize_t>(capacity);
    buffer[fits ? size : 0] = '\0';
    return fits ? 0 : 1;
}

int vutilWriteStringToFile(const char* text, const char* path) {
    if (text == nullptr || path == nullptr) {
        return 1;
    }
    try {
        return utilities::replaceFile(path, text) ? 0 : 1;
    } catch (const std::exception& error) {
        victory::complain(std::string("vutilWriteStringToFile: ") + error.what());
        return 1;
    }
}
