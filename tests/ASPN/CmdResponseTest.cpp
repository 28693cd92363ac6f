#include "ASPN/AspnCmdResponse.h"

#include <gtest/gtest.h>

namespace {

using ASPN2::CmdResponse;
using ASPN2::ResponseType;
using aspn2_msgs::idl::CommandResponse;

TEST(CmdResponse, NumbersCommandsAndResponsesApart) {
    CmdResponse messages(ASPN2::DeviceIdFactory("ORDA", 46));
    for (int i = 0; i < 2; ++i) {
        const CommandResponse command = messages.makeCommand("INIT_HOTSTART,1,COM1");
        EXPECT_EQ(command.header().device_id(), 0x012E0200);
        EXPECT_EQ(command.header().seq_num(), i);
        EXPECT_EQ(command.command_identifier(), i);
        EXPECT_EQ(command.commanded_device_id(), 0);
        EXPECT_EQ(command.command_response_type(), 0U);
        EXPECT_EQ(command.command_response(), "INIT_HOTSTART,1,COM1");
    }
    messages.reset(ASPN2::DeviceIdFactory(2, 7));
    EXPECT_EQ(messages.makeCommand("x").header().seq_num(), 2);

    CommandResponse request;
    request.header().device_id(0x01270200);
    request.command_identifier(77);
    request.command_response("INIT_HOTSTART,1,COM1");
    const CommandResponse response = messages.makeResponseAck(request, true);
    EXPECT_EQ(response.header().seq_num(), 0);
    EXPECT_EQ(response.header().device_id(), 0x02070200);
    EXPECT_EQ(response.commanded_device_id(), 0x01270200);
    EXPECT_EQ(response.command_identifier(), 77);
    EXPECT_EQ(response.command_response_type(), 1U);
    EXPECT_EQ(response.command_response(), "INIT_HOTSTART_ACK");
}

TEST(CmdResponse, AnswersWithTheWordOfTheRequest) {
    CmdResponse messages;
    const struct {
        const char *request, *pass, *nack;
    } rows[] = {{"A,b,c", "A_PASS", "A_NACK"},
                {"A", "A_PASS", "A_NACK"},
                {"", "_PASS", "_NACK"},
                {",x", "_PASS", "_NACK"}};
    for (const auto& row : rows) {
        CommandResponse request;
        request.command_response(row.request);
        EXPECT_EQ(messages.makeResponse(request, true).command_response(), row.pass);
        EXPECT_EQ(messages.makeResponseAck(request, false).command_response(), row.nack);
    }
    EXPECT_EQ(messages.makeResponse({}, "literal").command_response(), "literal");
}

TEST(CmdResponse, SetsTheTopicAlone) {
    CommandResponse message;
    message.header().device_id(static_cast<std::int32_t>(0xFF2E02FFU));
    CmdResponse::setTopicId(message, 0x12);
    EXPECT_EQ(static_cast<std::uint32_t>(message.header().device_id()), 0xFF2E0212U);
}

TEST(ResponseKind, TheFirstSuffixOfTheOrderDecides) {
    const std::pair<const char*, ResponseType::Value> rows[] = {
        {"X_ACK", ResponseType::Ack},        {"TYRN_CV_ZEROIZE_NACK", ResponseType::Nack},
        {"X_PASS", ResponseType::Pass},      {"X_FAIL", ResponseType::Fail},
        {"X", ResponseType::Unknown},        {"", ResponseType::Unknown},
        {"A_FAIL_PASS", ResponseType::Pass}, {"_NACK_ACK", ResponseType::Ack},
        {"X_PASS,more", ResponseType::Pass}};
    for (const auto& [text, expected] : rows) {
        CommandResponse reply;
        reply.command_response(text);
        EXPECT_EQ(ResponseType::GetResponseType(reply), expected) << text;
    }
}

}  // namespace
