#include "bench/BusClient.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "victory/socket/Endpoint.h"
#include "victory/socket/LineSplitter.h"

namespace bench {
using nlohmann::json;
namespace {

constexpr auto retryPause = std::chrono::milliseconds(20);
constexpr std::size_t longestLine = 16 << 20;

}  // namespace

BusClient::BusClient(const std::filesystem::path& socket, Deadline deadline) {
    connectTo(socket, deadline);
    m_reader = std::thread([this] { readLines(); });
}

BusClient::~BusClient() {
    ::shutdown(m_socket.get(), SHUT_RDWR);
    m_reader.join();
}

void BusClient::connectTo(const std::filesystem::path& socket, Deadline deadline) {
    while (true) {
        try {
            m_socket = victory::connectTo(socket.string());
            return;
        } catch (const std::system_error&) {
            if (std::chrono::steady_clock::now() >= deadline) {
                throw;
            }
        }
        std::this_thread::sleep_for(retryPause);
    }
}

std::optional<json> BusClient::next(const Matches& matches, Deadline deadline) {
    utilities::MutexLock lock(m_mutex);
    bool last = false;
    while (true) {
        while (!m_lines.empty()) {
            json line = std::move(m_lines.front());
            m_lines.pop_front();
            if (matches(line)) {
                return line;
            }
        }
        if (last || m_closed) {
            return std::nullopt;
        }
        last = !m_changed.wait_until(m_mutex, deadline);
    }
}

std::optional<json> BusClient::next(std::string_view report, Deadline deadline) {
    const auto isReport = [report](const json& line) {
        const auto name = line.find("report");
        return name != line.end() && *name == report;
    };
    return next(isReport, deadline);
}

std::optional<json> BusClient::request(json request, Deadline deadline) {
    utilities::MutexLock lock(m_mutex);
    const long long id = ++m_lastId;
    lock.unlock();
    request["id"] = id;
    sendRaw(request.dump() + "\n");
    lock.lock();
    bool last = false;
    while (!m_replies.contains(id)) {
        if (last || m_closed) {
            return std::nullopt;
        }
        last = !m_changed.wait_until(m_mutex, deadline);
    }
    return std::move(m_replies.extract(id).mapped());
}

void BusClient::sendRaw(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent = ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent == -1 && errno == EINTR) {
            continue;
        }
        bytes.remove_prefix(
            static_cast<std::size_t>(checked(static_cast<int>(sent), "Can't send on the bus")));
    }
}

bool BusClient::closed() const {
    utilities::MutexLock lock(m_mutex);
    return m_closed;
}

std::size_t BusClient::unreadable() const {
    utilities::MutexLock lock(m_mutex);
    return m_unreadable;
}

void BusClient::readLines() {
    victory::LineSplitter lines(longestLine);
    char buffer[16384];
    while (true) {
        const auto count = ::recv(m_socket.get(), buffer, sizeof buffer, 0);
        if (count == -1 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        lines.append({buffer, static_cast<std::size_t>(count)});
        while (const auto line = lines.next()) {
            take(line->text);
        }
    }
    utilities::MutexLock lock(m_mutex);
    m_closed = true;
    m_changed.notify_all();
}

void BusClient::take(std::string_view line) {
    json parsed = json::parse(line, nullptr, false);
    utilities::MutexLock lock(m_mutex);
    if (!parsed.is_object()) {
        ++m_unreadable;
    } else if (!parsed.contains("reply")) {
        m_lines.push_back(std::move(parsed));
    } else if (parsed["reply"].is_number_integer()) {
        const auto id = parsed["reply"].get<long long>();
        m_replies[id] = std::move(parsed);
    }
    m_changed.notify_all();
}

}  // namespace bench
