/** Commands and responses between the system's servers: building and classifying them. */
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "ASPN/AspnDeviceIds.h"
#include "aspn2_msgs/CommandResponse.h"

namespace ASPN2 {

/** How a reply says the command went. */
struct ResponseType {
    enum Value : int { Unknown = 0, Ack = 1, Nack = 2, Pass = 3, Fail = 4 };

    /** The first of "_ACK", "_NACK", "_PASS", "_FAIL", in this order, that the text holds anywhere;
     *  Unknown when it holds none. */
    static Value GetResponseType(const aspn2_msgs::idl::CommandResponse& reply);
};

/** Numbers and stamps the messages of one sender. Any thread may make them at any time: no two get
 *  the same number.
 */
class CmdResponse {
public:
    /** `command_response_type` of a message. */
    static constexpr std::uint32_t commandType = 0;
    static constexpr std::uint32_t responseType = 1;

    CmdResponse() = default;
    explicit CmdResponse(const DeviceIdFactory& factory) { reset(factory); }

    /** Takes the sender's device id from `factory`; the counters go on. */
    void reset(const DeviceIdFactory& factory);

    /** A command, addressed to nobody in particular. */
    aspn2_msgs::idl::CommandResponse makeCommand(const std::string& text);
    /** The same with a time of arrival of its own [FPGA ticks]. */
    aspn2_msgs::idl::CommandResponse makeCommand(std::uint64_t fpgaTicks, const std::string& text);

    /** A response to `request`, addressed to its sender. */
    aspn2_msgs::idl::CommandResponse makeResponse(const aspn2_msgs::idl::CommandResponse& request,
                                                  const std::string& text);
    /** A literal is a text, not a bool. */
    aspn2_msgs::idl::CommandResponse makeResponse(const aspn2_msgs::idl::CommandResponse& request,
                                                  const char* text) {
        return makeResponse(request, std::string(text));
    }
    /** The word of the request, with "_PASS" or "_FAIL". */
    aspn2_msgs::idl::CommandResponse makeResponse(const aspn2_msgs::idl::CommandResponse& request,
                                                  bool pass);
    /** The word of the request, with "_ACK" or "_NACK". */
    aspn2_msgs::idl::CommandResponse makeResponseAck(
        const aspn2_msgs::idl::CommandResponse& request, bool ack);

    /** Overwrites the topic id in the message's device id. */
    static void setTopicId(aspn2_msgs::idl::CommandResponse& message, std::uint8_t id);

private:
    aspn2_msgs::idl::CommandResponse make(std::uint64_t sequence, std::uint32_t type,
                                          const std::string& text) const;

    std::atomic<std::uint32_t> m_deviceId{0};
    std::atomic<std::uint64_t> m_commandSequence{0};
    std::atomic<std::uint64_t> m_responseSequence{0};
    std::atomic<std::uint32_t> m_commandIdentifier{0};
};

}  // namespace ASPN2
