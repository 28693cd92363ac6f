/** A transport over a configuration of its own, and the inbox behind its callbacks. */
#pragma once

#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "aspn2_msgs/CommandResponsePubSubTypes.h"
#include "bench/siblings/Catalogue.h"
#include "face/HC_Config.h"
#include "support/CodeOf.h"
#include "support/Eventually.h"
#include "tss/HC_TypedTS.h"
#include "utilities/Mutex.h"

namespace tss_tests {

using namespace FACE;
using Code = RETURN_CODE_TYPE::Value;
constexpr Code NO_ERROR = RETURN_CODE_TYPE::NO_ERROR;
constexpr Code NO_ACTION = RETURN_CODE_TYPE::NO_ACTION;
constexpr Code NOT_AVAILABLE = RETURN_CODE_TYPE::NOT_AVAILABLE;
constexpr Code INVALID_PARAM = RETURN_CODE_TYPE::INVALID_PARAM;
constexpr Code INVALID_CONFIG = RETURN_CODE_TYPE::INVALID_CONFIG;
constexpr Code CONNECTION_CLOSED = RETURN_CODE_TYPE::CONNECTION_CLOSED;
using aspn2_msgs::idl::CommandResponse;

template <typename T>
using Typed = TSS::Details::HC_TypedTS<T>;
using Front = Typed<CommandResponse>;

/** Parameters by name; one with an empty value is left out. */
using Parameters = std::map<std::string, std::string>;

/** A domain of this run and this moment, so that runs side by side don't meet. */
inline std::string freshDomain() {
    static unsigned count = 0;
    return std::to_string((static_cast<unsigned>(::getpid()) * 13U + count++) % 200U + 1U);
}

inline CommandResponse command(const std::string& text) {
    CommandResponse message;
    message.command_response(text);
    return message;
}

/** What Server::connect answers instead of an id. */
constexpr long long refused(Code code) {
    return -static_cast<long long>(code);
}

/** The message as it travels, encapsulation header and all. */
inline std::string payloadOf(eprosima::fastdds::dds::TopicDataType& support, void* message) {
    eprosima::fastrtps::rtps::SerializedPayload_t payload(
        support.getSerializedSizeProvider(message)());
    EXPECT_TRUE(support.serialize(message, &payload));
    return {reinterpret_cast<const char*>(payload.data), payload.length};
}
inline std::string payloadOf(const CommandResponse& message) {
    aspn2_msgs::idl::CommandResponsePubSubType type;
    CommandResponse copy = message;
    return payloadOf(type, &copy);
}

/** A TCP port that somebody listens on. */
class Taken_Port {
public:
    Taken_Port() {
        auto* const address = reinterpret_cast<sockaddr*>(&m_address);
        if (::bind(m_socket, address, m_size) != 0 || ::listen(m_socket, 1) != 0 ||
            ::getsockname(m_socket, address, &m_size) != 0) {
            throw std::runtime_error("no port to be had");
        }
    }
    ~Taken_Port() { ::close(m_socket); }
    Taken_Port(const Taken_Port&) = delete;
    Taken_Port& operator=(const Taken_Port&) = delete;

    std::string number() const { return std::to_string(ntohs(m_address.sin_port)); }

private:
    const int m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in m_address{AF_INET, 0, {}, {}};
    socklen_t m_size = sizeof(m_address);
};

inline std::string freePort() {
    return Taken_Port().number();
}

/** What a callback got. */
struct Arrival {
    long long connection;
    long long transaction;
    CommandResponse message;
    TSS::HEADER_TYPE header;
    std::vector<std::pair<std::string, std::string>> qos;
};

/** Outlives the transport whose callbacks fill it. */
class Inbox {
public:
    /** Ends tests that would hang. */
    static constexpr std::chrono::seconds patience{20};

    TSS::Read_Callback<CommandResponse> callback() {
        return
            [this](long long connection, long long transaction, const CommandResponse& message,
                   const TSS::HEADER_TYPE& header, const Sequence<TSS::QoS_Element>& qos, Code&) {
                Arrival arrival{connection, transaction, message, header, {}};
                for (const TSS::QoS_Element& element : qos) {
                    arrival.qos.emplace_back(element.name.view(), element.kind.view());
                }
                const utilities::MutexLock lock(m_mutex);
                m_arrivals.push_back(std::move(arrival));
                m_changed.notify_all();
            };
    }

    /** All that has come, once there are `count`, or fewer when patience ends. */
    std::vector<Arrival> wait(std::size_t count) {
        return waitUntil([&](const auto& arrivals) { return arrivals.size() >= count; });
    }
    std::vector<std::string> texts(std::size_t count) { return textsOf(wait(count)); }

    /** All texts that have come, once the last of them is `text`. */
    std::vector<std::string> upTo(const std::string& text) {
        return textsOf(waitUntil([&](const auto& arrivals) {
            return !arrivals.empty() && arrivals.back().message.command_response() == text;
        }));
    }

private:
    template <typename Enough>
    std::vector<Arrival> waitUntil(const Enough& enough) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        const utilities::MutexLock lock(m_mutex);
        while (!enough(m_arrivals) && m_changed.wait_until(m_mutex, deadline)) {
        }
        return m_arrivals;
    }

    static std::vector<std::string> textsOf(const std::vector<Arrival>& arrivals) {
        std::vector<std::string> found;
        found.reserve(arrivals.size());
        for (const Arrival& arrival : arrivals) {
            found.push_back(arrival.message.command_response());
        }
        return found;
    }

    utilities::Mutex m_mutex;
    utilities::Condition m_changed;
    std::vector<Arrival> m_arrivals GUARDED_BY(m_mutex);
};

/** One server's end: file, transport and the typed fronts. */
class Server {
public:
    explicit Server(const Parameters& changes) : domain(changes) {
        domain.merge(Parameters{{"DomainId", freshDomain()},
                                {"HistoryDepth", "16"},
                                {"UseBestEffort", "false"},
                                {"BackFillHistory", "false"},
                                {"UseTransport", "SHM"},
                                {"TcpAddress", "127.0.0.1"},
                                {"TcpPort", "5100"}});
        std::ofstream file(m_file);
        file << "<HC_Configurations>" << container("FastRtps", domain);
        const std::string command = "aspn2_msgs::idl::CommandResponse";
        for (const auto& [connection, type, support] :
             {std::tuple{"Command", command, "CommandResponsePubSubType"},
              {"Response", command, "CommandResponsePubSubType"},
              {"EventLog", "aspn2_msgs::idl::EventLog", "EventLogPubSubType"},
              {"Unknown", command, "Nonsense"},
              {"Untyped", "", "CommandResponsePubSubType"},
              {"Unsupported", command, ""},
              {"Misnamed", "aspn2_msgs::idl::GSSIP", "CommandResponsePubSubType"}}) {
            file << container(connection, {{"TopicType", type}, {"PubSubType", support}});
        }
        for (const bench::MessageType& each : bench::catalogue()) {
            const std::string type(each.name);
            for (const char* way : {"_out", "_back"}) {
                file << container(type + way, {{"TopicType", "aspn2_msgs::idl::" + type},
                                               {"PubSubType", type + "PubSubType"}});
            }
        }
        file << "</HC_Configurations>";
    }
    ~Server() { std::filesystem::remove(m_file); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /** The code of Initialize. */
    Code start() {
        codeOf(&TSS::HC_TSS::Set_Reference, *tss, "", std::make_shared<HC_Config>(), 0);
        codeOf(&Front::Set_Reference, typed, "", tss, 0);
        return codeOf(&TSS::HC_TSS::Initialize, *tss, m_file.c_str());
    }

    /** The id, or `refused(code)`. */
    long long connect(const std::string& name) {
        long long connection = 0;
        int size = 0;
        const Code rc =
            codeOf(&TSS::HC_TSS::Create_Connection, *tss, name.c_str(), -1, connection, size);
        return rc == NO_ERROR ? connection : refused(rc);
    }

    Code send(long long connection, const std::string& text) {
        long long transaction = 0;
        return codeOf(&Front::Send_Message, typed, connection, -1, transaction, command(text));
    }
    Code receive(long long connection, TSS::Read_Callback<CommandResponse> callback) {
        return codeOf(&Front::Register_Callback, typed, connection, std::move(callback));
    }
    Code sender(long long connection) { return codeOf(&Front::Register_Sender, typed, connection); }
    Code endSender(long long connection) {
        return codeOf(&TSS::HC_TSS::Unregister_Sender, *tss, connection);
    }
    Code endCallback(long long connection) {
        return codeOf(&TSS::HC_TSS::Unregister_Callback, *tss, connection);
    }

    /** Waits until the connection's writer has `readers` and its reader `writers`. */
    bool matched(long long connection, int readers, int writers) {
        const auto& found = tss->connectionMap_mutex_at(static_cast<std::uint32_t>(connection));
        return eventually([&] {
            return (found.isPublisher() ? found.publisherListener->matched() : 0) == readers &&
                   (found.isSubscriber() ? found.subscriberListener->matched() : 0) == writers;
        });
    }

private:
    static std::string container(const std::string& name, const Parameters& parameters) {
        std::ostringstream text;
        text << "<Container><Name>" << name << "</Name><Parameters>";
        for (const auto& [parameter, value] : parameters) {
            if (!value.empty()) {
                text << "<" << parameter << ">" << value << "</" << parameter << ">";
            }
        }
        text << "</Parameters></Container>";
        return text.str();
    }

    static inline int s_count = 0;
    const std::filesystem::path m_file =
        std::filesystem::temp_directory_path() /
        ("tss_" + std::to_string(::getpid()) + "_" + std::to_string(s_count++) + ".xml");

public:
    Parameters domain;  ///< of the container "FastRtps"
    const std::shared_ptr<TSS::HC_TSS> tss = std::make_shared<TSS::HC_TSS>("tester");
    Front typed;
};

}  // namespace tss_tests
