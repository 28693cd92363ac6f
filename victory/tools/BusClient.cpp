#include "victory/tools/BusClient.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <stdexcept>
#include <system_error>

#include "victory/socket/Endpoint.h"

namespace victory {

namespace {

// The longest line of a service is a whole hot start record, 1.3 MB.
constexpr std::size_t kMaximumLine = std::size_t{16} << 20;

/** False at the deadline. */
bool waitForInput(int descriptor, BusClient::Deadline deadline) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    const auto bounded = std::clamp<std::int64_t>(left.count(), 0, std::numeric_limits<int>::max());
    pollfd entry{descriptor, POLLIN, 0};
    return ::poll(&entry, 1, static_cast<int>(bounded)) > 0;
}

}  // namespace

BusClient::BusClient(const std::string& path)
    : m_connection(connectTo(path)), m_lines(kMaximumLine) {}

void BusClient::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(m_connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "send to the VICTORY service");
        }
        bytes.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
}

std::optional<std::string> BusClient::readLine(Deadline deadline) {
    while (true) {
        if (const auto line = m_lines.next(); line && line->fault == LineSplitter::Fault::NONE) {
            return line->text;
        }
        if (m_ended || !waitForInput(m_connection.get(), deadline)) {
            return std::nullopt;
        }
        std::array<char, 65536> bytes;
        const ssize_t count = ::recv(m_connection.get(), bytes.data(), bytes.size(), 0);
        if (count > 0) {
            m_lines.append({bytes.data(), static_cast<std::size_t>(count)});
        } else if (count == 0 || errno != EINTR) {
            m_ended = true;
        }
    }
}

void BusClient::endRequests() {
    ::shutdown(m_connection.get(), SHUT_WR);
}

nlohmann::json BusClient::request(nlohmann::json request, Deadline deadline) {
    const int id = ++m_lastId;
    request["id"] = id;
    send(request.dump() + '\n');
    while (const std::optional<std::string> line = readLine(deadline)) {
        nlohmann::json reply = nlohmann::json::parse(*line, nullptr, false);
        if (reply.is_object() && reply.value("reply", nlohmann::json()) == id) {
            return reply;
        }
        // Refused at the door, or an answer that can't name its request.
        if (reply.is_object() && reply.contains("error")) {
            return reply;
        }
    }
    throw std::runtime_error(m_ended ? "the VICTORY service hung up before it replied"
                                     : "the VICTORY service hasn't replied in time");
}

}  // namespace victory
