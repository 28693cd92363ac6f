/** The bus's Unix-domain socket: where it lies, listening on it, connecting to it. */
#pragma once

#include <string>

#include "victory/socket/Descriptor.h"

namespace victory {

/** The endpoint of a unit that is configured like ours. */
inline constexpr const char* kDefaultEndpoint = "/run/victory/gps-receiver.sock";

/** The path to open for an endpoint: below the directory that the environment variable
 *  HALCYRINE_ROOT names; unset or empty means "/". */
std::string resolveEndpoint(const std::string& endpoint);

/** A socket that listens at a path, which may be longer than a socket address holds.
 *
 *  A lock file beside the socket (the path and ".lock") is held as long as the socket lives, so the
 *  socket of a dead process is told from that of a living one without a race. It stays behind; the
 *  socket does not.
 */
class ListeningSocket {
public:
    /** Makes missing directories. Throws std::runtime_error with the path and the reason: the
     *  endpoint is in use, the path is taken by something else, or the system refuses. */
    explicit ListeningSocket(const std::string& path);
    ~ListeningSocket();
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

    /** Non-blocking. */
    int descriptor() const { return m_socket.get(); }

private:
    std::string m_path;
    Descriptor m_lock;
    Descriptor m_socket;
};

/** A blocking connection to the socket at `path`, which may be longer than a socket address holds.
 *  Throws std::system_error. */
Descriptor connectTo(const std::string& path);

}  // namespace victory
