#include "utilities/FileReplace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "utilities/Descriptor.h"

namespace utilities {

namespace {

constexpr mode_t NEW_FILE_MODE = 0644;

/** Removes a file at the end of its scope, unless it was kept. */
class Temporary {
public:
    explicit Temporary(const std::string& path) : m_path(path) {}
    ~Temporary() {
        if (!m_kept) {
            ::unlink(m_path.c_str());
        }
    }
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    void keep() { m_kept = true; }

private:
    const std::string& m_path;
    bool m_kept = false;
};

bool writeAll(int fd, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = ::write(fd, content.data(), content.size());
        if (written > 0) {
            content.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

/** Gives `fd` the owner and mode of the file at `path`. False when that is not a regular file which
 *  this process may write.
 */
bool takeAttributes(int fd, const std::string& path) {
    const Descriptor old(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    if (!old.isOpen()) {
        return errno == ENOENT && ::fchmod(fd, NEW_FILE_MODE) == 0;
    }
    struct stat status {};
    if (::fstat(old.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    // Only a privileged process may give a file away; any other owns what it writes.
    if (::fchown(fd, status.st_uid, status.st_gid) != 0 && errno != EPERM) {
        return false;
    }
    return ::fchmod(fd, status.st_mode & 07777U) == 0;
}

/** Makes a rename in `directory` outlast a power cut. The files are whole with or without it, so a
 *  file system that can't do it is no failure.
 */
void syncDirectory(const std::filesystem::path& directory) {
    const Descriptor fd(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.isOpen()) {
        ::fsync(fd.get());
    }
}

}  // namespace

bool replaceFile(const std::string& path, std::string_view content) {
    std::error_code error;
    const std::filesystem::path target = std::filesystem::weakly_canonical(path, error);
    if (error) {
        return false;
    }
    std::string beside = target.string() + ".XXXXXX";
    Descriptor fd(::mkostemp(beside.data(), O_SYNC | O_CLOEXEC));
    if (!fd.isOpen()) {
        return false;
    }
    Temporary temporary(beside);
    if (!takeAttributes(fd.get(), target) || !writeAll(fd.get(), content) || !fd.close() ||
        ::rename(beside.c_str(), target.c_str()) != 0) {
        return false;
    }
    temporary.keep();
    syncDirectory(target.parent_path());
    return true;
}

}  // namespace utilities
