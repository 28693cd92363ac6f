/** A server's place on the system's topics. */
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <variant>

#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "bench/Deadline.h"
#include "tss/HC_TypedTS.h"

namespace bench {

enum class Topic { Command, Response, EventLog, MaintenanceEvent };

/** A message, and the topic that it came on. */
struct Arrival {
    Topic topic;
    std::variant<aspn2_msgs::idl::CommandResponse, aspn2_msgs::idl::EventLog,
                 aspn2_msgs::idl::MaintenanceEvent>
        message;
};

/** Whether a reader asks for what the writers still keep, whatever the connections file says. */
enum class Past { AsConfigured, Heard };

/** Hears all four topics, and sends on "Command" and "Response". What it sends it hears, too. */
class SystemTopics {
public:
    using CommandResponse = aspn2_msgs::idl::CommandResponse;
    /** Runs on the transport's threads, several at once; for what is sent here on the sender's. */
    using Take = std::function<void(const Arrival&)>;

    /** Joins the domain of `connectionsFile`. Raises std::runtime_error; the transport has said
     *  more on the console then. */
    SystemTopics(const std::string& participant, const std::string& connectionsFile, Past past,
                 Take take);
    SystemTopics(const SystemTopics&) = delete;
    SystemTopics& operator=(const SystemTopics&) = delete;

    /** On "Command" or "Response", from any thread. Raises std::runtime_error. */
    void send(Topic topic, const CommandResponse& message);
    /** Waits until somebody else reads the topic, which is "Command" or "Response", and no reader
     *  more has been found for the time `settling`. Whoever is found later misses what is sent. */
    bool waitForReader(Topic topic, std::chrono::milliseconds settling, Deadline deadline) const;
    /** Waits until all readers have what was sent on the topic. */
    void flush(Topic topic, std::chrono::seconds patience) const;

private:
    template <typename T>
    using Typed = FACE::TSS::Details::HC_TypedTS<T>;

    int readers(Topic topic) const;
    void connect(const std::string& connectionsFile, Past past);
    template <typename T>
    void hear(Typed<T>& typed, Topic topic);
    FACE::TSS::HC_TSS::Connection_t& connection(Topic topic) const;

    const Take m_take;  // outlives the transport, which ends with the last of those that share it
    Typed<CommandResponse> m_commands;
    Typed<aspn2_msgs::idl::EventLog> m_events;
    Typed<aspn2_msgs::idl::MaintenanceEvent> m_maintenance;
    std::array<long long, 4> m_connections{};  ///< by topic
    std::shared_ptr<FACE::TSS::HC_TSS> m_tss;
};

}  // namespace bench
