/** How a run counts what comes of it, and the keys that it takes meanwhile. */
#include <gmock/gmock.h>
#include <pty.h>

#include "bench/Descriptor.h"
#include "bench/Keyboard.h"
#include "bench/RunTally.h"
#include "support/Eventually.h"

namespace bench {
namespace {

using nlohmann::json;
using testing::EndsWith;

constexpr const char* status = "GPS_RECEIVER_STATUS";
constexpr const char* health = "GPS_RECEIVER_SATELLITE_HEALTH_STATUS";
constexpr const char* health2 = "GPS_RECEIVER_SATELLITE_HEALTH_STATUS_2";

RunTally tallyOf(const std::vector<double>& statuses, std::size_t healths) {
    RunTally tally;
    for (const double time : statuses) {
        tally.take({{"report", status}, {"data", {{"receiverTime", time}}}});
    }
    for (std::size_t count = 0; count < healths; ++count) {
        tally.take({{"report", health}});
        tally.take({{"report", health2}});
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
    for (const auto loss : {&Receiver::Tally::framesLost, &Receiver::Tally::unreadable}) {
        Receiver::Tally lossy = sent;
        lossy.*loss = 1;
        EXPECT_FALSE(tally.complete(lossy));
    }
    tally.take({{"report", health}, {"dropped", 2}});
    EXPECT_FALSE(tally.complete(sent));

    // The summary names the lost times; what is no report is passed over.
    tally = tallyOf({1, 3}, 4);
    for (const json& odd : {json{{"report", 5}}, json{{"hello", json::object()}}, json::object(),
                            json{{"report", status}, {"data", 7}}}) {
        tally.take(odd);
    }
    EXPECT_THAT(tally.summary(sent),
                testing::IsSupersetOf({EndsWith("2 of 4"), EndsWith("4 of 4"), EndsWith(" 2, 4")}));
}

TEST(Keyboard, HandsOverSingleKeysAndLeavesTheTerminalAsItWas) {
    int ours = -1;
    int theirs = -1;
    ASSERT_EQ(::openpty(&ours, &theirs, nullptr, nullptr, nullptr), 0);
    const Descriptor master(ours);
    const Descriptor slave(theirs);
    const Descriptor before(::dup(STDIN_FILENO));
    ::dup2(slave.get(), STDIN_FILENO);
    const auto modes = [&] {
        termios settings{};
        ::tcgetattr(slave.get(), &settings);
        return settings.c_lflag & (ICANON | ECHO);
    };
    {
        Keyboard keyboard;
        EXPECT_EQ(modes(), 0U);
        EXPECT_EQ(keyboard.take(), "");
        ASSERT_EQ(::write(master.get(), "z1", 2), 2);
        std::string keys;
        EXPECT_TRUE(eventually([&] { return (keys += keyboard.take()) == "z1"; })) << keys;
    }
    EXPECT_EQ(modes(), static_cast<tcflag_t>(ICANON | ECHO));
    ::dup2(before.get(), STDIN_FILENO);
}

}  // namespace
}  // namespace bench
