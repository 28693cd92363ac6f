/** A client of the VICTORY bus. */
#pragma once

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "victory/socket/Descriptor.h"
#include "victory/socket/LineSplitter.h"

namespace victory {

/** One connection to the bus, for one thread. */
class BusClient {
public:
    using Deadline = std::chrono::steady_clock::time_point;

    /** Connects to the socket at `path`. Throws std::system_error when nobody listens there. */
    explicit BusClient(const std::string& path);

    /** Sends bytes as they are. Throws std::system_error when the service is gone. */
    void send(std::string_view bytes);
    /** The next line, without its end; nothing at the deadline or once the service has hung up. */
    std::optional<std::string> readLine(Deadline deadline);
    /** True once the service has hung up and all its lines are read. */
    bool hasEnded() const { return m_ended; }
    /** No more requests; lines still come. */
    void endRequests();

    /** Sends a request under an id of its own and returns the reply to it, passing over other
     *  lines. Throws std::runtime_error when there is none by the deadline. */
    nlohmann::json request(nlohmann::json request, Deadline deadline);

private:
    Descriptor m_connection;
    LineSplitter m_lines;
    int m_lastId = 0;
    bool m_ended = false;
};

}  // namespace victory
