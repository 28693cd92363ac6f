#include <future>

#include "bench/DataTransfer.h"
#include "bench/FrameReader.h"
#include "system/SiblingUnit.h"

namespace {

using bench::Bytes;

/** A unit with siblings whose client hot starts the receiver. */
class HotStart : public SiblingUnit {
protected:
    /** The next message on that channel; empty when there is none. */
    Bytes next(Channel channel) {
        const auto message = receiver.receive(channel, bench::within(patience));
        return message ? message->data() : Bytes();
    }
};

TEST_F(HotStart, ThreeHundredMessagesArriveInOrder) {
    startAndJoin();
    siblings->answer("ack 0 0 INIT_WARMSTART");
    nlohmann::json request{{"request", "hotStartData"}, {"hotStartMode", 3}};
    for (unsigned i = 1; i <= 300; ++i) {
        const std::string hex(std::size_t{2} * 1800, "0123456789abcdef"[i % 16]);
        request["messages"].push_back({{"messageId", 7}, {"sequence", i}, {"bytes", hex}});
    }
    auto reply =
        std::async(std::launch::async, [&] { return bus().request(request, bench::within(20s)); });
    for (unsigned i = 0; i < 302; ++i) {
        const auto message = receiver.receive(Channel::DtIn, bench::within(patience));
        ASSERT_TRUE(message) << i << "\n" << output();
        ASSERT_EQ(message->header().seq_num(), i);
        ASSERT_EQ(message->data().size(), i % 301 == 0 ? bench::startOfTransfer.size() : 1800U);
    }
    EXPECT_EQ(reply.get().value_or(nlohmann::json())["result"], 0);
}

TEST_F(HotStart, TheClientToolHasEveryRequest) {
    root.setParameter(bench::serverFile, "VGpsReceiverServer", "PARAM_2", "true");
    startAndJoin();
    siblings->answer("pass 0 0");
    const auto data = root.path() / "saved.json";
    std::ofstream(data) << R"({"hotStartMode":3,"messages":[{"messageId":7,"sequence":1,)"
                           R"("bytes":"ff81"}]})";
    const auto vcl = root.path() / "new.xml";
    std::ofstream(vcl) << "<vcl:VCL xmlns:vcl=\"urn:x\"/>";
    const struct {
        std::vector<std::string> arguments;
        int status;
    } cases[] = {
        {{"magvar", "local", "12.5"}, 0},
        {{"magvar", "calculated"}, 0},
        {{"mission-duration", "40"}, 0},
        {{"mission-duration", "85"}, 1},
        {{"mode", "3"}, 0},
        {{"hot-start", "port", "J4COM3"}, 0},
        {{"hot-start", "port", "J9COM9"}, 1},
        {{"hot-start", "data", data.string()}, 0},
        {{"save-vcl", vcl.string()}, 0},
    };
    for (const auto& [arguments, status] : cases) {
        bench::ServerProcess tool({aspnctl.parent_path() / "vgpsctl", arguments, environment});
        EXPECT_EQ(tool.wait(bench::within(patience)), (Ending{status, {}})) << arguments.front();
    }
    for (const unsigned id : {5330U, 5330U, 5402U}) {
        const auto frame = bench::FrameReader::read(next(Channel::HcTyr));
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->id(), id);
    }
    EXPECT_EQ(told("magneticVariation")["degrees"], 12.5);
    EXPECT_EQ(told("missionDuration"), 40);
    EXPECT_EQ(told("hotStartPort"), "J4COM3");
    EXPECT_TRUE(heardOnce(sent, ": INIT_HOTSTART,4,COM3,LNAV"));
    next(Channel::DtIn);
    EXPECT_EQ(next(Channel::DtIn), Bytes({0xFF, 0x81}));
    EXPECT_EQ(told("hotStartData")["messages"].size(), 1U);
    EXPECT_EQ(fileText(bench::vclFile), "<vcl:VCL xmlns:vcl=\"urn:x\"/>");
}

}  // namespace
