#include "victory/socket/Endpoint.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace victory {

namespace {

constexpr int kBacklog = 16;
// Owner and group may connect: whoever can connect can command.
constexpr mode_t kSocketMode = 0660;

[[noreturn]] void failWith(int error, const std::string& what) {
    throw std::system_error(error, std::generic_category(), what);
}

/** The address of a socket at any path: a path that is too long is reached through its directory's
 *  descriptor, which stays open as long as the address is needed. */
class Address {
public:
    explicit Address(const std::filesystem::path& path) {
        m_address.sun_family = AF_UNIX;
        std::string text = path.string();
        if (text.size() >= sizeof m_address.sun_path) {
            const std::filesystem::path directory = path.parent_path();
            m_directory = Descriptor(::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
            if (!m_directory.isOpen()) {
                failWith(errno, directory.string());
            }
            text = "/proc/self/fd/" + std::to_string(m_directory.get()) + "/" +
                   path.filename().string();
        }
        if (text.size() >= sizeof m_address.sun_path) {
            failWith(ENAMETOOLONG, path.string() + ": name of the socket");
        }
        std::copy(text.begin(), text.end(), m_address.sun_path);
    }

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&m_address); }
    static constexpr socklen_t size() { return sizeof(sockaddr_un); }

private:
    sockaddr_un m_address{};
    Descriptor m_directory;
};

Descriptor makeSocket(int flags) {
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    if (!socket.isOpen()) {
        failWith(errno, "socket");
    }
    return socket;
}

Descriptor lockEndpoint(const std::string& path) {
    const std::string lockPath = path + ".lock";
    Descriptor lock(::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock.isOpen()) {
        failWith(errno, lockPath);
    }
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
        throw std::runtime_error(path + ": endpoint in use by another service");
    }
    return lock;
}

/** Removes what a dead process left at `path`; throws if a living one or something else is there.
 */
void clearPath(const std::string& path) {
    struct stat found {};
    if (::lstat(path.c_str(), &found) != 0) {
        return;
    }
    if (!S_ISSOCK(found.st_mode)) {
        throw std::runtime_error(path + ": there is a file that is no socket; remove it");
    }
    const Address address(path);
    const Descriptor probe = makeSocket(SOCK_NONBLOCK);
    if (::connect(probe.get(), address.get(), Address::size()) == 0 || errno == EAGAIN) {
        throw std::runtime_error(path + ": endpoint in use by another process");
    }
    ::unlink(path.c_str());
}

Descriptor listenAt(const std::string& path) {
    const Address address(path);
    Descriptor socket = makeSocket(SOCK_NONBLOCK);
    // Narrow until the file has its final mode, whatever the umask.
    ::fchmod(socket.get(), 0600);
    if (::bind(socket.get(), address.get(), Address::size()) != 0) {
        failWith(errno, path);
    }
    if (::chmod(path.c_str(), kSocketMode) != 0 || ::listen(socket.get(), kBacklog) != 0) {
        const int error = errno;
        ::unlink(path.c_str());
        failWith(error, path);
    }
    return socket;
}

}  // namespace

std::string resolveEndpoint(const std::string& endpoint) {
    const char* root = std::getenv("HALCYRINE_ROOT");
    if (root == nullptr || *root == '\0') {
        return endpoint;
    }
    return (std::filesystem::path(root) / std::filesystem::path(endpoint).relative_path()).string();
}

ListeningSocket::ListeningSocket(const std::string& path) : m_path(path) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    m_lock = lockEndpoint(path);
    clearPath(path);
    m_socket = listenAt(path);
}

ListeningSocket::~ListeningSocket() {
    ::unlink(m_path.c_str());
}

Descriptor connectTo(const std::string& path) {
    const Address address(path);
    Descriptor socket = makeSocket(0);
    if (::connect(socket.get(), address.get(), Address::size()) != 0) {
        failWith(errno, path);
    }
    return socket;
}

}  // namespace victory
