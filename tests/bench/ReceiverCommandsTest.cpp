/** What the bench's receiver plays, and how it obeys the server. */
#include <gmock/gmock.h>

#include <atomic>

#include "bench/FrameBuilder.h"
#include "bench/FrameReader.h"
#include "bench/Frames.h"
#include "bench/Receiver.h"
#include "bench/ReceiverSettings.h"
#include "bench/Scenario.h"
#include "receiver/Tyrn5402Msg.h"
#include "receiver/TyrnUnitSetupMsg.h"
#include "support/Eventually.h"

namespace bench {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/** The frame that the server would send of the message. */
Bytes written(GssipMessage& message) {
    struct : IWriteByteStreams {
        int WriteBytes(const void* bytes, unsigned int length) override {
            const auto* const first = static_cast<const std::uint8_t*>(bytes);
            frame.assign(first, first + length);
            return 0;
        }
        Bytes frame;
    } stream;
    message.WriteMessage(&stream);
    return stream.frame;
}

Bytes setup(double value, e5330_MagVarUnits units) {
    TyrnUnitSetupMsg message;
    message.setMagVarType(e5330_MagVarType::Local);
    message.setMagVariation(value, units);
    return written(message);
}

Bytes duration(unsigned value) {
    Tyrn_5402_Msg message;
    message.setMissionDuration(value);
    return written(message);
}

TEST(FrameReader, TakesWholeFramesOnly) {
    const Bytes good = duration(40);
    ASSERT_TRUE(FrameReader::read(good));
    EXPECT_EQ(FrameReader::read(good)->id(), 5402U);
    for (std::size_t size = 0; size < good.size(); ++size) {
        EXPECT_FALSE(FrameReader::read(std::span(good).first(size))) << size;
    }
    for (std::size_t bit = 0; bit < 8 * good.size(); ++bit) {
        Bytes spoilt = good;
        spoilt[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        EXPECT_FALSE(FrameReader::read(spoilt)) << bit;
    }
    EXPECT_TRUE(FrameReader::read(FrameBuilder(1, 0, 0).frame()));
    for (const double value : {0.0, 12.5, -170.0, 1.0 / 3, 0.99999999, 1e-30, -1e30}) {
        const auto frame = FrameReader::read(FrameBuilder(1, 0, 2).capsFloat(0, value).frame());
        EXPECT_NEAR(frame->capsFloat(0), value, std::abs(value) * 1e-6);
    }
}

TEST(ReceiverSettings, ShowWhatWasSet) {
    ReceiverSettings settings;
    const auto stateAfter = [&settings](const Bytes& frame, bool obeyed = true) {
        EXPECT_EQ(settings.obey(*FrameReader::read(frame)), obeyed);
        ReceiverState state;
        state.magneticVariation = -7;
        settings.apply(state);
        return std::pair(state.magneticVariation, state.variationCalculated);
    };
    using Units = e5330_MagVarUnits;
    EXPECT_EQ(stateAfter(setup(12.5, Units::Degrees)), std::pair(12.5, false));
    EXPECT_EQ(stateAfter(setup(190, Units::Degrees)), std::pair(-170.0, false));
    EXPECT_EQ(stateAfter(setup(-800, Units::FinerMils)), std::pair(-45.0, false));
    EXPECT_EQ(stateAfter(setup(1575, Units::CoarserMils)), std::pair(90.0, false));
    const Bytes unitsUnknown =
        FrameBuilder(5330, 0x9000, 100).bits(0x18, 0, 1, 1).bits(0x34, 0, 4, 4).frame();
    EXPECT_EQ(stateAfter(unitsUnknown, false), std::pair(90.0, false));
    EXPECT_EQ(stateAfter(FrameBuilder(5330, 0x9000, 99).frame(), false), std::pair(90.0, false));
    TyrnUnitSetupMsg calculated;
    calculated.setMagVarType(e5330_MagVarType::Calculated);
    EXPECT_EQ(stateAfter(written(calculated)), std::pair(-7.0, true));
}

TEST(ReceiverSettings, MissionDurationRunsDownWithThatOfTheSource) {
    ReceiverSettings settings;
    const auto shown = [&settings](std::optional<unsigned> source) {
        ReceiverState state;
        state.missionDuration = source;
        settings.apply(state);
        return state.missionDuration;
    };
    EXPECT_EQ(shown(70), 70U);
    EXPECT_TRUE(settings.obey(*FrameReader::read(duration(2))));
    EXPECT_EQ(shown(70), 2U);
    EXPECT_EQ(shown(69), 1U);
    EXPECT_EQ(shown(0), 0U);
    const Bytes tooLong = FrameBuilder(5402, 0x9000, 67).bits(0x0A, 3, 1, 1).u16(0x0C, 85).frame();
    EXPECT_FALSE(settings.obey(*FrameReader::read(tooLong)));
    EXPECT_EQ(shown(69), 1U);
    EXPECT_TRUE(settings.obey(*FrameReader::read(duration(84))));
    EXPECT_EQ(shown(std::nullopt), 84U) << "a log knows of none";
}

class ReceiverAtWork : public testing::Test {
protected:
    using Channel = ReceiverPorts::Channel;

    DeviceRoot root;
    ReceiverPorts ports{root};
    ReceiverPorts server{root};
};

TEST_F(ReceiverAtWork, PlaysItsSourceAndObeysTheServer) {
    std::atomic<bool> over{false};
    std::atomic<std::size_t> played{0};
    const auto start = std::chrono::steady_clock::now();
    const auto source = [&](std::size_t cycle) {
        const bool more = !over;
        played += more ? 1 : 0;
        return more ? std::optional(scenarioAt(cycle == 0 ? 5 : 6)) : std::nullopt;
    };
    Receiver receiver(ports, source, 50ms);
    std::size_t received = 0;
    const auto next = [&](Deadline deadline) {
        const auto message = server.receive(Channel::TyrHc, deadline);
        received += message ? 1 : 0;
        return message ? message->data() : Bytes{};
    };
    for (const std::size_t cycle : {5U, 6U}) {
        for (const Bytes& frame : cycleFrames(scenarioAt(cycle))) {
            ASSERT_EQ(next(within(10s)), frame) << cycle;
        }
    }
    EXPECT_GE(std::chrono::steady_clock::now() - start, 45ms) << "a cycle later";

    server.send(Channel::HcTyr, duration(33));
    server.send(Channel::HcTyr, FrameBuilder(5402, 0x9000, 67).frame());  // sets nothing
    server.sendRaw(Channel::HcTyr, Bytes(56, 0xFF));
    EXPECT_TRUE(eventually([&] {
        const auto frame = FrameReader::read(next(within(10s)));
        return frame && frame->id() == 5042 && frame->u16(0x74) == 33;
    }));
    over = true;
    EXPECT_TRUE(eventually([&] { return receiver.tally().finished; }));
    while (!next(within(0ms)).empty()) {
    }
    EXPECT_TRUE(eventually([&] { return receiver.tally().unreadable == 1; }));
    const Receiver::Tally tally = receiver.tally();
    EXPECT_EQ(tally.commands, 2U);
    EXPECT_EQ(tally.settings, 1U);
    EXPECT_EQ(tally.frames, received);
    EXPECT_EQ(tally.framesLost, 0U);
    EXPECT_EQ(tally.cycles.size(), played);
}

TEST_F(ReceiverAtWork, TransfersDataBothWays) {
    const auto nothing = [](std::size_t) { return std::nullopt; };
    Receiver receiver(ports, nothing, 5ms);
    const Bytes begin(startOfTransfer.begin(), startOfTransfer.end());
    const Bytes end(endOfTransfer.begin(), endOfTransfer.end());
    // What comes outside of a transfer isn't part of it; a second start begins it again.
    for (const Bytes& frame : {Bytes{1}, end, begin, Bytes{2}, begin, Bytes{3}, Bytes{4}, end}) {
        server.send(Channel::DtIn, frame);
    }
    EXPECT_TRUE(eventually([&] { return receiver.tally().transfers != 0; }));
    EXPECT_THAT(receiver.lastTransfer(), ElementsAre(Bytes{3}, Bytes{4}));
    server.send(Channel::DtIn, begin);
    server.send(Channel::DtIn, end);
    EXPECT_TRUE(eventually([&] { return receiver.tally().commands == 10; }));
    EXPECT_EQ(receiver.tally().transfers, 2U);
    EXPECT_THAT(receiver.lastTransfer(), testing::IsEmpty());

    receiver.transferOut({Bytes{5}});
    for (const Bytes& frame : {begin, Bytes{5}, end}) {
        const auto message = server.receive(Channel::DtOut, within(10s));
        ASSERT_TRUE(message);
        EXPECT_EQ(message->data(), frame);
    }
}

}  // namespace
}  // namespace bench
