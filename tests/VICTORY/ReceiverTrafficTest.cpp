#include "VICTORY/ServerFixture.h"

namespace {

using ReceiverTraffic = RunningServer;

struct Arrival {
    int id;
    double time;
    std::size_t statusAfter;
    std::size_t healthAfter;
};

/** Messages in their order, with how many reports have gone out behind each. */
class Pairing : public ReceiverTraffic, public testing::WithParamInterface<std::vector<Arrival>> {};

TEST_P(Pairing, ReportsWhatBelongsTogether) {
    for (const Arrival& arrival : GetParam()) {
        feed(message(arrival.id, arrival.time));
        EXPECT_EQ(statusCount(), arrival.statusAfter) << arrival.id << " at " << arrival.time;
        EXPECT_EQ(healthCount(), arrival.healthAfter) << arrival.id << " at " << arrival.time;
    }
    EXPECT_EQ(fake::snapshot().health2.size(), healthCount());
}

INSTANTIATE_TEST_SUITE_P(
    Rules, Pairing,
    testing::Values(
        std::vector<Arrival>{{5040, 100.0, 0, 0}, {8504, 100.4, 1, 0}},
        std::vector<Arrival>{{8504, 100.5, 0, 0}, {5040, 100.0, 0, 0}, {5040, 100.6, 1, 0}},
        // A pair once reported is used up; a newer message replaces one that waits.
        std::vector<Arrival>{{8504, 7, 0, 0}, {5040, 7, 1, 0}, {5040, 7, 1, 0}, {8504, 7, 2, 0}},
        std::vector<Arrival>{{5040, 1, 0, 0}, {5040, 9, 0, 0}, {8504, 1, 0, 0}, {8504, 9, 1, 0}},
        // Health needs all three; exactly half a second is too far.
        std::vector<Arrival>{{5047, 10, 0, 0}, {5048, 10.6, 0, 0}, {8504, 10.3, 0, 1}},
        std::vector<Arrival>{
            {5047, 10, 0, 0}, {5048, 10.75, 0, 0}, {8504, 10.25, 0, 0}, {5048, 10, 0, 1}},
        // One 8504 serves both reports, and each clears its own flag.
        std::vector<Arrival>{{5047, 5, 0, 0},
                             {5048, 5, 0, 0},
                             {5040, 5, 0, 0},
                             {8504, 5, 1, 1},
                             {5047, 5, 1, 1},
                             {5048, 5, 1, 1},
                             {8504, 5, 1, 2}},
        std::vector<Arrival>{{8504, -3, 0, 0}, {5040, -3.4, 1, 0}}));

TEST_F(ReceiverTraffic, NothingIsTakenUnlessRunning) {
    using Requested = FACE::LCM::Halcyrine::RequestedState;
    transition(Requested::STOP);
    feed(message(5040, 1));
    transition(Requested::START);
    feed(message(8504, 1));
    EXPECT_EQ(statusCount(), 0U);
    // What was cached before the stop still counts, if its time matches.
    transition(Requested::STOP);
    transition(Requested::START);
    feed(message(5040, 1));
    EXPECT_EQ(statusCount(), 1U);
}

TEST_F(ReceiverTraffic, RefusedFramesChangeNothing) {
    feed(message(5040, 1));
    const bench::Bytes good = message(8504, 1).frame();
    for (std::size_t length = 0; length < good.size(); ++length) {
        feedBytes(bench::Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)));
    }
    bench::Bytes unknown = good;
    unknown.resize(good.size() + 2);
    feedBytes(unknown);
    unknown = good;
    unknown[2] = 0xFF;
    feedBytes(unknown);
    EXPECT_EQ(statusCount(), 0U);
    feedBytes(good);
    EXPECT_EQ(statusCount(), 1U);
}

TEST_F(ReceiverTraffic, MissionDurationCountsOnceTheReceiverHasOne) {
    const auto told = [] { return fake::calls("TellDeviceMissionDuration 48").size(); };
    feed(message(5042, 1).u16(0x74, 48));
    EXPECT_EQ(told(), 0U);
    EXPECT_EQ(fetchStatus2().missionDurationPresent, 0U);
    feed(message(5040, 1).u16(0x98, 1));
    feed(message(5042, 2).u16(0x74, 48));
    EXPECT_EQ(told(), 1U);
    EXPECT_EQ(fetchStatus2().missionDuration, 48U);
    EXPECT_EQ(fetchStatus2().missionDurationPresent, 1U);
}

TEST_F(ReceiverTraffic, WarningNumbersMapToCodes) {
    // Number of the receiver, code of the bus; each range's ends and its neighbours.
    const std::pair<unsigned, int> rows[] = {
        {0, 62},  {1, 0},   {5, 4},   {6, 62},  {7, 5},     {23, 21}, {24, 62}, {26, 62},
        {27, 22}, {28, 23}, {29, 62}, {33, 62}, {34, 24},   {47, 37}, {48, 62}, {49, 62},
        {50, 40}, {63, 53}, {64, 62}, {66, 62}, {67, 54},   {71, 58}, {72, 62}, {78, 62},
        {79, 59}, {80, 62}, {81, 61}, {82, 62}, {65535, 62}};
    for (const auto& [number, code] : rows) {
        feed(message(5044, 1).u16(8, number).text(10, "ANTENNA IS OPEN, 32 CHARACTERS..", 32));
        const VgpscReceiverStatus2Data status = fetchStatus2();
        ASSERT_EQ(status.warningCount, 1U);
        EXPECT_EQ(status.warnings[0].messageId, code) << number;
        EXPECT_EQ(status.warnings[0].hasCustomText, code == 62 ? 1U : 0U) << number;
        EXPECT_STREQ(status.warnings[0].customText,
                     code == 62 ? "ANTENNA IS OPEN, 32 CHARACTERS.." : "")
            << number;
    }
}

TEST_F(ReceiverTraffic, TheNewestFiftyWarningsWaitAndGoOutOnce) {
    for (unsigned i = 0; i < 53; ++i) {
        server.sendVDBcustomWarning("warning " + std::to_string(i));
    }
    const VgpscReceiverStatus2Data status = fetchStatus2();
    ASSERT_EQ(status.warningCount, 50U);
    EXPECT_STREQ(status.warnings[0].customText, "warning 3");
    EXPECT_STREQ(status.warnings[49].customText, "warning 52");
    EXPECT_EQ(fetchStatus2().warningCount, 0U);
    server.sendVDBcustomWarning(std::string(300, 'x'));
    EXPECT_EQ(fetchStatus2().warnings[0].customText, std::string(255, 'x'));
}

TEST_F(ReceiverTraffic, ShortStatus2FramesCountAndFalseOnesDoNot) {
    feed(message(8040, 2).u16(8, 0x0004));
    EXPECT_EQ(fetchStatus2().status2Value, 1U);
    for (const auto& [word, size] : {std::pair{0x0008U, 40U}, {0x000CU, 64U}}) {
        bench::Bytes frame = message(8040, 3).u16(8, word).frame();
        frame.resize(size);
        feedBytes(frame);
        EXPECT_EQ(fetchStatus2().status2Value, 2U) << "of the shorter one";
    }
}

}  // namespace
