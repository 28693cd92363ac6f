/** How the bench's receiver obeys the server. */
#include <gmock/gmock.h>

#include "bench/DataTransfer.h"
#include "bench/FrameBuilder.h"
#include "bench/FrameReader.h"
#include "bench/Frames.h"
#include "bench/Receiver.h"
#include "bench/ReceiverSettings.h"
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

TEST(DataTransfer, IsWhatLiesBetweenStartAndEnd) {
    const Bytes start(startOfTransfer.begin(), startOfTransfer.end());
    const Bytes end(endOfTransfer.begin(), endOfTransfer.end());
    DataTransfer transfer;
    for (const Bytes& frame : {Bytes{1}, end, start, Bytes{2}, start, Bytes{3}, Bytes{4}}) {
        EXPECT_FALSE(transfer.take(frame));
    }
    EXPECT_THAT(transfer.take(end), testing::Optional(ElementsAre(Bytes{3}, Bytes{4})));
    transfer.take(start);
    EXPECT_THAT(transfer.take(end), testing::Optional(testing::IsEmpty()));
}

TEST(Receiver, ObeysTheServerAndTransfersDataBothWays) {
    using Channel = ReceiverPorts::Channel;
    const DeviceRoot root;
    ReceiverPorts ports(root);
    ReceiverPorts server(root);
    Receiver receiver(
        ports, [](std::size_t) { return std::optional(ReceiverState()); }, 5ms);
    server.send(Channel::HcTyr, duration(33));
    const Bytes saved = frame8040({});
    for (const Bytes& frame : {Bytes(startOfTransfer.begin(), startOfTransfer.end()), saved,
                               Bytes(endOfTransfer.begin(), endOfTransfer.end())}) {
        server.send(Channel::DtIn, frame);
    }
    receiver.transferOut({saved});
    std::vector<Bytes> out;
    DataTransfer transfer;
    while (out.empty()) {
        const auto message = server.receive(Channel::DtOut, within(10s));
        ASSERT_TRUE(message);
        out = transfer.take(message->data()).value_or(out);
    }
    EXPECT_THAT(out, ElementsAre(saved));
    const auto isShown = [&] {
        const auto message = server.receive(Channel::TyrHc, within(10s));
        const auto frame = message ? FrameReader::read(message->data()) : std::nullopt;
        return frame && frame->id() == 5042 && frame->u16(0x74) == 33;
    };
    EXPECT_TRUE(eventually(isShown));
    EXPECT_TRUE(eventually([&] { return receiver.tally().transfers != 0; }));
    EXPECT_EQ(receiver.tally().settings, 1U);
    EXPECT_THAT(receiver.lastTransfer(), ElementsAre(saved));
}

}  // namespace
}  // namespace bench
