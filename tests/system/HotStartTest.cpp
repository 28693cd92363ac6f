#include <future>

#include "bench/DataTransfer.h"
#include "system/SiblingUnit.h"

namespace {

using bench::Bytes;

/** A unit with siblings whose client hot starts the receiver. */
class HotStart : public SiblingUnit {
protected:
    int ask(const nlohmann::json& request) {
        const auto reply = bus().request(request, bench::within(patience));
        return reply ? reply->value("result", -1) : -1;
    }
    int fromPort(const std::string& name) {
        return ask({{"request", "hotStartPort"}, {"name", name}});
    }
    int fromData(unsigned mode, const std::vector<std::pair<unsigned, std::string>>& messages) {
        nlohmann::json request{{"request", "hotStartData"},
                               {"hotStartMode", mode},
                               {"messages", nlohmann::json::array()}};
        for (const auto& [sequence, hex] : messages) {
            request["messages"].push_back(
                {{"messageId", 7}, {"sequence", sequence}, {"bytes", hex}});
        }
        return ask(request);
    }
    /** All that comes on DT_IN until the end of a transfer, each with its sequence number. */
    std::vector<std::pair<std::int64_t, Bytes>> transfer() {
        std::vector<std::pair<std::int64_t, Bytes>> frames;
        do {
            const auto message = receiver.receive(Channel::DtIn, bench::within(patience));
            if (!message) {
                break;
            }
            frames.emplace_back(message->header().seq_num(), message->data());
        } while (frames.back().second != end);
        return frames;
    }
    bool nothingPlayed() { return !receiver.receive(Channel::DtIn, bench::within(200ms)); }

    const Bytes start{bench::startOfTransfer.begin(), bench::startOfTransfer.end()};
    const Bytes end{bench::endOfTransfer.begin(), bench::endOfTransfer.end()};
};

TEST_F(HotStart, FromAPortRunsUntilItsFinalResponse) {
    startAndJoin();
    for (const char* result : {"pass", "fail"}) {
        SCOPED_TRACE(result);
        const std::size_t from = siblings->end();
        siblings->answer(std::string(result) + " 0 1500 INIT_HOTSTART");
        EXPECT_EQ(fromPort("J4COM3"), 0) << output();
        EXPECT_TRUE(heardOnce(sent, ": INIT_HOTSTART,4,COM3,LNAV", from));
        EXPECT_EQ(fromPort("J1COM1"), 1) << "one at a time";
        ASSERT_TRUE(heard("response ZeroizeServer to ",
                          std::string(" INIT_HOTSTART_") + (*result == 'p' ? "PASS" : "FAIL"),
                          from));
        EXPECT_EQ(siblings->count(sent, ",LNAV", from), 1U) << "the refused one was not sent";
    }
    EXPECT_EQ(told("hotStartPort"), "J4COM3");
    siblings->answer("pass 0 0 INIT_HOTSTART");
    EXPECT_TRUE(eventually([this] { return fromPort("J1COM1") == 0; }));
    EXPECT_TRUE(heard(sent, ": INIT_HOTSTART,1,COM1,LNAV"));
}

TEST_F(HotStart, FromAPortIsRefusedWithoutTheSiblingsOrAName) {
    startAndJoin();
    for (const char* name : {"j4com3", "J4COM", "J4COM33", "", "4,COM3"}) {
        EXPECT_EQ(fromPort(name), 1) << name;
    }
    EXPECT_EQ(siblings->count(sent, ",LNAV"), 0U);
    siblings->answer("nack 0 0 INIT_HOTSTART");
    EXPECT_EQ(fromPort("J2COM2"), 1);
    siblings->answer("pass 0 0 INIT_HOTSTART");
    EXPECT_EQ(fromPort("J2COM2"), 0) << "a NACK ends it";
}

TEST_F(HotStart, FromSavedMessagesPlaysThemAsTheyAre) {
    startAndJoin();
    siblings->answer("ack 0 0 INIT_WARMSTART");
    const std::string longest(2 * std::size_t{2032}, 'a');
    EXPECT_EQ(fromData(3, {{7, "ff81"}, {7, ""}, {99, longest}}), 0) << output();
    const auto played = transfer();
    ASSERT_EQ(played.size(), 5U);
    EXPECT_EQ(played[0], std::pair(std::int64_t{0}, start));
    EXPECT_EQ(played[1], std::pair(std::int64_t{7}, Bytes({0xFF, 0x81})));
    EXPECT_EQ(played[2], std::pair(std::int64_t{7}, Bytes()));
    EXPECT_EQ(played[3], std::pair(std::int64_t{99}, Bytes(2032, 0xAA)));
    EXPECT_EQ(played[4], std::pair(std::int64_t{4}, end));
    EXPECT_EQ(told("hotStartData")["messages"].size(), 3U);

    EXPECT_EQ(fromData(0, {}), 0);
    EXPECT_EQ(transfer().size(), 2U) << "start and end alone";
}

TEST_F(HotStart, ThreeHundredMessagesArriveInOrder) {
    startAndJoin();
    siblings->answer("ack 0 0 INIT_WARMSTART");
    std::vector<std::pair<unsigned, std::string>> messages;
    for (unsigned i = 1; i <= 300; ++i) {
        messages.emplace_back(i, std::string(std::size_t{2} * 1800, "0123456789abcdef"[i % 16]));
    }
    auto reply = std::async(std::launch::async, [&] { return fromData(3, messages); });
    const auto played = transfer();
    ASSERT_EQ(played.size(), 302U) << output();
    for (std::size_t i = 0; i < played.size(); ++i) {
        ASSERT_EQ(played[i].first, static_cast<std::int64_t>(i));
    }
    EXPECT_EQ(reply.get(), 0);
}

TEST_F(HotStart, FromSavedMessagesNeedsTheSiblingsUnlessTheModeSaysNo) {
    startAndJoin();
    siblings->answer("nack 0 0 INIT_WARMSTART");
    EXPECT_EQ(fromData(3, {{1, "ff"}}), 1);
    EXPECT_TRUE(heard("event VGpsReceiverServer WARNING", "Not Sending Warmstart."));
    EXPECT_TRUE(nothingPlayed());
    EXPECT_EQ(fromData(4, {{1, "ff"}}), 0) << "told, and not played";
    EXPECT_TRUE(nothingPlayed());
    EXPECT_EQ(told("hotStartData")["hotStartMode"], 4);
    EXPECT_TRUE(heardOnce(sent, ": INIT_WARMSTART"));
}

TEST_F(HotStart, TransferThatNobodyAskedForIsPassedOver) {
    startAndJoin();
    ASSERT_TRUE(receiver.send(Channel::DtOut, start));
    for (int i = 0; i < 400; ++i) {
        ASSERT_TRUE(receiver.send(Channel::DtOut, Builder(5120, 0x9000, 100).frame(),
                                  bench::within(patience)));
    }
    ASSERT_TRUE(receiver.send(Channel::DtOut, end));
    sendPair(1);
    EXPECT_TRUE(statusAt(1)) << output();
    EXPECT_EQ(siblings->count(sent, ": INIT_DATA_TRANSFER_OUT_LNAV"), 0U);
}

TEST_F(HotStart, ASignalDuringTheWaitEndsTheServerWhenThatEnds) {
    startAndJoin();
    siblings->answer("silence 0 0 INIT_HOTSTART");
    auto reply = std::async(std::launch::async, [this] { return fromPort("J1COM1"); });
    ASSERT_TRUE(heard(sent, ": INIT_HOTSTART,1,COM1,LNAV"));
    server->signal(SIGTERM);
    EXPECT_EQ(waitForEnd(), (Ending{.status = 0, .signal = {}})) << output();
    EXPECT_THAT(server->lines().back().text, testing::HasSubstr(" has exited. Signal: 15"));
    reply.wait();
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
    std::ifstream saved(root.configFile(bench::vclFile));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(saved), {}),
              "<vcl:VCL xmlns:vcl=\"urn:x\"/>");
}

TEST_F(HotStart, ASystemZeroizeRefusesAll) {
    startAndJoin();
    bus();
    siblings->send("START_ZEROIZE");
    ASSERT_TRUE(eventually([this] { return bus().closed(); })) << output();
    bench::BusClient again(root.busSocket(), bench::within(patience));
    const nlohmann::json requests[] = {
        {{"request", "hotStartPort"}, {"name", "J4COM3"}},
        {{"request", "hotStartData"}, {"hotStartMode", 3}, {"messages", nlohmann::json::array()}}};
    for (const auto& request : requests) {
        const auto reply = again.request(request, bench::within(patience));
        ASSERT_TRUE(reply);
        EXPECT_EQ((*reply)["result"], 1);
    }
    EXPECT_TRUE(
        heard("event VGpsReceiverServer WARNING",
              "VGpsReceiverServer: Sanitize in progress, not processing set hot start port"));
    EXPECT_EQ(siblings->count(sent, ",LNAV") + siblings->count(sent, ": INIT_WARMSTART"), 0U);
    EXPECT_TRUE(nothingPlayed());
}

}  // namespace
