#include <numbers>

#include "bench/FrameReader.h"
#include "system/Unit.h"

namespace {

/** A unit in test mode. */
class Settings : public Unit {
protected:
    Settings() { root.setParameter(bench::serverFile, "VGpsReceiverServer", "PARAM_2", "true"); }

    int ask(const nlohmann::json& request) {
        const auto reply = bus().request(request, bench::within(patience));
        return reply ? reply->value("result", -1) : -1;
    }
    int setVariation(int source, double degrees) {
        return ask({{"request", "magneticVariation"}, {"source", source}, {"degrees", degrees}});
    }
    int setDuration(unsigned duration) {
        return ask({{"request", "missionDuration"}, {"duration", duration}});
    }
    /** The next message that the receiver gets; empty when there is none by the deadline. */
    std::optional<bench::FrameReader> received(std::chrono::milliseconds limit = patience) {
        const auto message = receiver.receive(Channel::HcTyr, bench::within(limit));
        return message ? bench::FrameReader::read(message->data()) : std::nullopt;
    }
    /** The receiver reports that variation [deg] at `time`, calculated. */
    void report(double time, double degrees) {
        send(message5040(time));
        send(
            message8504(time).pdpFloat(0x54, degrees * std::numbers::pi / 180).bits(0x65, 2, 1, 1));
    }
};

nlohmann::json variation(int source, double degrees) {
    return {{"degrees", degrees}, {"source", source}};
}

TEST_F(Settings, MagneticVariationGoesToTheReceiverAndPassesOverOneReport) {
    startAndRun();
    EXPECT_EQ(setVariation(0, 190), 0);
    auto frame = received();
    ASSERT_TRUE(frame) << output();
    EXPECT_EQ(frame->id(), 5330U);
    EXPECT_EQ(frame->bits(0x08, 6, 1), 1U);
    EXPECT_EQ(frame->bits(0x17, 0, 4), 1U);
    EXPECT_EQ(frame->bits(0x18, 0, 1), 1U);
    EXPECT_EQ(frame->capsFloat(0x30), -170.0);
    EXPECT_EQ(told("magneticVariation"), variation(0, 190));
    report(1, 5);
    report(2, 7);
    const auto next = told("magneticVariation");
    ASSERT_TRUE(next.is_object()) << output();
    EXPECT_NEAR(next["degrees"].get<double>(), 7, 1e-4) << "that of 5 was passed over";

    EXPECT_EQ(setVariation(1, 99), 0);
    frame = received();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->bits(0x17, 0, 4), 0U);
    EXPECT_EQ(frame->bits(0x18, 0, 1), 0U) << "no value goes with it";

    EXPECT_EQ(setVariation(2, 3), 1);
    frame = received();
    ASSERT_TRUE(frame) << "an empty message";
    EXPECT_EQ(frame->u16(0x08), 0U);
    EXPECT_EQ(told("magneticVariation"), variation(2, 3));
}

TEST_F(Settings, MissionDurationIsHeldToItsRange) {
    startAndRun();
    EXPECT_EQ(setDuration(84), 0);
    const auto frame = received();
    ASSERT_TRUE(frame) << output();
    EXPECT_EQ(frame->id(), 5402U);
    EXPECT_EQ(frame->bits(0x0A, 3, 1), 1U);
    EXPECT_EQ(frame->u16(0x0C), 84U);
    EXPECT_EQ(setDuration(85), 1);
    EXPECT_EQ(setDuration(4294967295U), 1);
    EXPECT_EQ(ask({{"request", "operatingMode"}, {"mode", 3}}), 0);
    EXPECT_FALSE(received(200ms)) << "none of these goes to the receiver";
}

TEST_F(Settings, OutsideTestModeNoneIsOffered) {
    root.setParameter(bench::serverFile, "VGpsReceiverServer", "PARAM_2", "false");
    startAndRun();
    for (const char* request : {"magneticVariation", "missionDuration", "operatingMode"}) {
        const auto reply = bus().request(
            {{"request", request}, {"source", 0}, {"degrees", 1}, {"duration", 1}, {"mode", 1}},
            bench::within(patience));
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->value("error", ""), "not offered");
    }
    EXPECT_FALSE(received(200ms));
}

}  // namespace
