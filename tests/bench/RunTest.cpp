/** What a run plays, and how it counts what comes of it. */
#include <gmock/gmock.h>

#include <future>

#include "bench/DeviceRoot.h"
#include "bench/FrameBuilder.h"
#include "bench/Receiver.h"
#include "bench/ReceiverPorts.h"
#include "bench/RunTally.h"
#include "bench/Scenario.h"
#include "support/Eventually.h"

namespace bench {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::EndsWith;
using Channel = ReceiverPorts::Channel;

TEST(Receiver, PlaysItsSourceInOrderAndTakesCommands) {
    const DeviceRoot root;
    ReceiverPorts ports(root);
    ReceiverPorts server(root);
    std::promise<void> over;
    const auto start = std::chrono::steady_clock::now();
    Receiver receiver(
        ports,
        [&](std::size_t cycle) {
            if (cycle < 2) {
                return std::optional(scenarioAt(5 + cycle));
            }
            over.set_value();
            return std::optional<ReceiverState>();
        },
        20ms);
    for (const unsigned id : {5040U, 8504U, 8040U, 5047U, 5048U, 5042U, 5040U, 8504U, 8040U, 5047U,
                              5048U, 5042U, 5044U}) {
        const auto message = server.receive(Channel::TyrHc, within(10s));
        ASSERT_TRUE(message);
        EXPECT_EQ(message->data()[2] + 256U * message->data()[3], id);
    }
    EXPECT_GE(std::chrono::steady_clock::now() - start, 18ms) << "a cycle later";
    ASSERT_EQ(over.get_future().wait_for(10s), std::future_status::ready);
    server.send(Channel::HcTyr, FrameBuilder(5402, 0x9000, 67).frame());
    server.send(Channel::DtIn, FrameBuilder(5402, 0x9000, 67).frame());
    server.sendRaw(Channel::HcTyr, Bytes(56, 0xFF));
    EXPECT_TRUE(eventually(
        [&] { return receiver.tally().commands == 2 && receiver.tally().unreadable == 1; }));
    receiver.stop();
    const Receiver::Tally tally = receiver.tally();
    EXPECT_EQ(tally.frames, 13U);
    EXPECT_EQ(tally.framesLost, 0U);
    EXPECT_EQ(tally.cycles.size(), 2U);
    EXPECT_TRUE(tally.finished);
}

json report(const std::string& kind, double time = -1) {
    json line{{"report", kind}, {"sequence", 1}, {"data", json::object()}};
    if (time >= 0) {
        line["data"]["receiverTime"] = time;
    }
    return line;
}

constexpr const char* health = "GPS_RECEIVER_SATELLITE_HEALTH_STATUS";
constexpr const char* health2 = "GPS_RECEIVER_SATELLITE_HEALTH_STATUS_2";

RunTally tallyOf(const std::vector<double>& statuses, std::size_t healths) {
    RunTally tally;
    for (const double time : statuses) {
        tally.take(report("GPS_RECEIVER_STATUS", time));
    }
    for (std::size_t count = 0; count < healths; ++count) {
        tally.take(report(health));
        tally.take(report(health2));
    }
    return tally;
}

TEST(RunTally, TellsWhatIsMissing) {
    struct Case {
        const char* name;
        std::vector<double> statuses;
        std::size_t healths;
        std::size_t missing;
    };
    const Case cases[] = {
        {"all came", {1, 2, 3, 4}, 4, 0},
        {"the server started late", {3, 4}, 2, 0},
        {"and in the middle of a cycle", {3, 4}, 3, 0},
        {"a status in between is missing", {1, 2, 4}, 4, 1},
        {"the last is missing", {1, 2, 3}, 3, 3},
        {"health is missing", {1, 2, 3, 4}, 3, 2},
        {"nothing came", {}, 0, 12},
        {"one came twice for another", {1, 2, 2, 4}, 4, 1},
    };
    Receiver::Tally sent;
    sent.cycles = {1, 2, 3, 4};
    for (const Case& each : cases) {
        const RunTally tally = tallyOf(each.statuses, each.healths);
        EXPECT_EQ(tally.missing(sent), each.missing) << each.name;
        EXPECT_EQ(tally.complete(sent), each.missing == 0) << each.name;
    }
    EXPECT_TRUE(RunTally().complete({}));

    // What was lost on the way is not complete either.
    RunTally tally = tallyOf({1, 2, 3, 4}, 4);
    auto lost = sent;
    lost.framesLost = 1;
    EXPECT_FALSE(tally.complete(lost));
    auto unreadable = sent;
    unreadable.unreadable = 1;
    EXPECT_FALSE(tally.complete(unreadable));
    json line = report(health);
    line["dropped"] = 2;
    tally.take(line);
    EXPECT_FALSE(tally.complete(sent));

    // The summary names the lost times; what is no report is passed over.
    tally = tallyOf({1, 3}, 4);
    for (const json& odd : {json{{"report", 5}}, json{{"hello", json::object()}}, json::object(),
                            json{{"report", "GPS_RECEIVER_STATUS"}, {"data", 7}}}) {
        tally.take(odd);
    }
    EXPECT_THAT(tally.summary(sent),
                testing::IsSupersetOf({EndsWith("2 of 4"), EndsWith("4 of 4"), EndsWith(" 2, 4")}));
}

}  // namespace
}  // namespace bench
