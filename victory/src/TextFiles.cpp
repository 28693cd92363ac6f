// Whole text files, for the owner of a service.
#include "victory/src/Exported.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>

#include "victory/socket/Descriptor.h"
#include "victory/src/Complaint.h"

namespace {

using victory::Descriptor;

constexpr mode_t kNewFileMode = 0644;

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

bool writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(file, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    return true;
}

/** The file that `path` leads to, so that a link stays a link. */
std::string targetOf(const char* path) {
    std::error_code error;
    const std::filesystem::path target = std::filesystem::canonical(path, error);
    return error ? std::string(path) : target.string();
}

mode_t modeOf(const std::string& path) {
    struct stat found {};
    return ::stat(path.c_str(), &found) == 0 ? found.st_mode & 07777 : kNewFileMode;
}

/** Makes the renaming itself outlast a loss of power; where that can't be had the rename stands. */
void syncDirectoryOf(const std::string& path) {
    const std::string parent = std::filesystem::absolute(path).parent_path().string();
    const Descriptor directory(::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ::fsync(directory.get());
}

bool replaceFile(const std::string& path, std::string_view text) {
    std::string temporary = path + ".XXXXXX";
    const Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file.isOpen()) {
        return false;
    }
    const bool replaced = writeAll(file.get(), text) && ::fchmod(file.get(), modeOf(path)) == 0 &&
                          ::fsync(file.get()) == 0 &&
                          std::rename(temporary.c_str(), path.c_str()) == 0;
    if (!replaced) {
        ::unlink(temporary.c_str());
        return false;
    }
    syncDirectoryOf(path);
    return true;
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
        return replaceFile(targetOf(path), text) ? 0 : 1;
    } catch (const std::exception& error) {
        victory::complain(std::string("vutilWriteStringToFile: ") + error.what());
        return 1;
    }
}
