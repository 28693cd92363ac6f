/** A client of the VICTORY library's bus. */
#pragma once

#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "bench/Deadline.h"
#include "bench/Descriptor.h"
#include "utilities/Mutex.h"

namespace bench {

/** Reads the bus on a thread of its own, so that it never counts as a slow client.
 *
 *  Lines wait in order until `next` takes them: the greeting, reports, and errors that answer no
 *  request. Answers to requests are kept apart. The operations may be called from any thread.
 */
class BusClient {
public:
    using Matches = std::function<bool(const nlohmann::json&)>;

    /** Connects to the socket, trying until the deadline: the server may still be starting.
     *  Raises std::system_error when the deadline passes. */
    BusClient(const std::filesystem::path& socket, Deadline deadline);
    ~BusClient();
    BusClient(const BusClient&) = delete;
    BusClient& operator=(const BusClient&) = delete;

    /** The next line for which `matches` holds; those before it are dropped. Empty when the
     *  deadline has passed or the bus has closed. */
    std::optional<nlohmann::json> next(const Matches& matches, Deadline deadline) EXCLUDES(m_mutex);
    /** The next report of that name. */
    std::optional<nlohmann::json> next(std::string_view report, Deadline deadline);

    /** Sends a request with an "id" of its own and waits for the answer: {"reply":id,...}. Empty
     *  when there is none by the deadline. */
    std::optional<nlohmann::json> request(nlohmann::json request, Deadline deadline)
        EXCLUDES(m_mutex);
    /** Sends bytes as they are, for requests that no one should send. */
    void sendRaw(std::string_view bytes);

    /** The service has closed the connection. */
    bool closed() const EXCLUDES(m_mutex);
    /** Lines that were no JSON objects. */
    std::size_t unreadable() const EXCLUDES(m_mutex);

private:
    void connectTo(const std::filesystem::path& socket, Deadline deadline);
    void readLines() EXCLUDES(m_mutex);
    void take(std::string_view line) EXCLUDES(m_mutex);

    Descriptor m_socket;
    mutable utilities::Mutex m_mutex;
    utilities::Condition m_changed;
    std::deque<nlohmann::json> m_lines GUARDED_BY(m_mutex);
    std::map<long long, nlohmann::json> m_replies GUARDED_BY(m_mutex);
    long long m_lastId GUARDED_BY(m_mutex) = 0;
    std::size_t m_unreadable GUARDED_BY(m_mutex) = 0;
    bool m_closed GUARDED_BY(m_mutex) = false;
    std::thread m_reader;
};

}  // namespace bench
