#include "ASPN/AspnCmdResponse.h"

#include <array>
#include <string_view>
#include <utility>

#include "ASPN/AspnHelper.h"
#include "ASPN/CmdResponseStrings.h"
#include "platform/FPGA.h"

namespace ASPN2 {

using aspn2_msgs::idl::CommandResponse;

namespace {

/** The command's word: its text up to the first comma. */
std::string wordOf(const CommandResponse& request) {
    const std::string& text = request.command_response();
    return text.substr(0, text.find(','));
}

std::string withSuffix(std::string word, std::string_view suffix) {
    return std::move(word.append(suffix));
}

}  // namespace

ResponseType::Value ResponseType::GetResponseType(const CommandResponse& reply) {
    constexpr std::array<std::pair<std::string_view, Value>, 4> suffixes{{
        {Sys::ResponseString::Ack, Ack},
        {Sys::ResponseString::Nack, Nack},
        {Sys::ResponseString::Pass, Pass},
        {Sys::ResponseString::Fail, Fail},
    }};
    for (const auto& [suffix, value] : suffixes) {
        if (reply.command_response().find(suffix) != std::string::npos) {
            return value;
        }
    }
    return Unknown;
}

void CmdResponse::reset(const DeviceIdFactory& factory) {
    m_deviceId = factory.makeDeviceId(MessageKinds::CommandResponse, 0);
}

CommandResponse CmdResponse::make(std::uint64_t sequence, std::uint32_t type,
                                  const std::string& text) const {
    CommandResponse message;
    message.header().device_id(static_cast<std::int32_t>(m_deviceId.load()));
    message.header().seq_num(static_cast<std::int64_t>(sequence));
    setToVandToA_fromFpgaTicks(FpgaFace::Instance().fpga_get_SystemCount(), message.header());
    message.command_response_type(static_cast<aspn2_msgs::idl::command_response_type_enum>(type));
    message.command_response(text);
    return message;
}

CommandResponse CmdResponse::makeCommand(const std::string& text) {
    CommandResponse command = make(m_commandSequence.fetch_add(1), commandType, text);
    command.command_identifier(static_cast<std::int32_t>(m_commandIdentifier.fetch_add(1)));
    return command;
}

CommandResponse CmdResponse::makeCommand(std::uint64_t fpgaTicks, const std::string& text) {
    CommandResponse command = makeCommand(text);
    setToA_fromFpgaTicks(fpgaTicks, command.header());
    return command;
}

CommandResponse CmdResponse::makeResponse(const CommandResponse& request, const std::string& text) {
    CommandResponse response = make(m_responseSequence.fetch_add(1), responseType, text);
    response.commanded_device_id(request.header().device_id());
    response.command_identifier(request.command_identifier());
    return response;
}

CommandResponse CmdResponse::makeResponse(const CommandResponse& request, bool pass) {
    return makeResponse(request, withSuffix(wordOf(request), pass ? Sys::ResponseString::Pass
                                                                  : Sys::ResponseString::Fail));
}

CommandResponse CmdResponse::makeResponseAck(const CommandResponse& request, bool ack) {
    return makeResponse(request, withSuffix(wordOf(request), ack ? Sys::ResponseString::Ack
                                                                 : Sys::ResponseString::Nack));
}

void CmdResponse::setTopicId(CommandResponse& message, std::uint8_t id) {
    const auto deviceId = static_cast<std::uint32_t>(message.header().device_id());
    message.header().device_id(static_cast<std::int32_t>((deviceId & 0xFFFFFF00U) | id));
}

}  // namespace ASPN2
