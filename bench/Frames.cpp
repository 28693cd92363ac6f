#include "bench/Frames.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace bench {
namespace {

using std::chrono::milliseconds;

constexpr std::uint16_t plainFlags = 0x8000;
constexpr std::uint16_t statusFlags = 0x9000;
constexpr unsigned unknownTimeQuality = 9;
constexpr std::size_t satellitesInFrame = 6;
constexpr std::size_t channelEntries = 32;
constexpr std::size_t warningCharacters = 32;

FrameBuilder begin(std::uint16_t id, std::uint16_t flags, std::uint16_t words,
                   const ReceiverState& state) {
    FrameBuilder builder(id, flags, words);
    builder.pdpDouble(0, state.timeOfValidity);
    return builder;
}

unsigned scaled(double value, double factor) {
    return static_cast<unsigned>(std::clamp(std::round(value * factor), 0.0, 65535.0));
}

void putDateTime(FrameBuilder& builder, const ReceiverState& state) {
    if (!state.date || !state.timeOfDay) {
        return;
    }
    const std::chrono::hh_mm_ss time(*state.timeOfDay);
    builder.u16(0x26, static_cast<unsigned>(time.hours().count()))
        .u16(0x28, static_cast<unsigned>(time.minutes().count()))
        .u16(0x2A, static_cast<unsigned>(time.seconds().count()))
        .u16(0x2E, static_cast<unsigned>(state.date->day()))
        .u16(0x30, static_cast<unsigned>(state.date->month()))
        .u16(0x32, static_cast<unsigned>(static_cast<int>(state.date->year()) - 2000))
        .u16(0x54, 1);
}

/** Decimal digits of the year and of the day in it, with the quality of the time between them. */
void putDigits(FrameBuilder& builder, const ReceiverState& state) {
    builder.bits(0x67, 4, 4, state.date ? state.timeQuality : unknownTimeQuality);
    if (!state.date) {
        return;
    }
    using std::chrono::sys_days;
    const auto year = static_cast<unsigned>(static_cast<int>(state.date->year()));
    const sys_days newYear{state.date->year() / 1 / 1};
    const auto day = static_cast<unsigned>((sys_days{*state.date} - newYear).count()) + 1;
    builder.bits(0x65, 1, 1, 1)
        .bits(0x66, 0, 4, year % 10)
        .bits(0x66, 4, 4, year / 10 % 10)
        .bits(0x67, 0, 4, year / 100 % 10)
        .bits(0x68, 0, 4, year / 1000)
        .bits(0x68, 4, 4, day % 10)
        .bits(0x69, 0, 4, day / 10 % 10)
        .bits(0x69, 4, 4, day / 100);
}

void putPrecision(FrameBuilder& builder, const Precision& precision) {
    builder.u16(0x58, precision.horizontal)
        .u16(0x5A, precision.vertical)
        .u16(0x5C, scaled(precision.time, 32))
        .u16(0x5E, scaled(precision.velocity, 32))
        .u16(0x6E, scaled(precision.east, 10))
        .u16(0x70, scaled(precision.north, 10))
        .u16(0x72, scaled(precision.up, 10))
        .capsFloat(0x7E, precision.position);
}

void putChannel(FrameBuilder& builder, std::size_t index, const Channel& channel) {
    const std::size_t at = 0x90 + 8 * index;
    builder.u8(at, static_cast<unsigned>(index + 1))
        .bits(at + 1, 0, 7, channel.number)
        .bits(at + 1, 7, 1, channel.inUse)
        .bits(at + 2, 0, 4, static_cast<unsigned>(channel.state))
        .bits(at + 2, 7, 1, channel.group)
        .bits(at + 3, 0, 3, channel.group >> 1)
        .bits(at + 4, 0, 6, channel.signal)
        .bits(at + 4, 6, 2, channel.jamming / 2)
        .bits(at + 5, 0, 4, channel.jamming / 2 >> 2)
        .bits(at + 7, 0, 4, channel.mode);
}

Bytes riseFrame(std::uint16_t id, const ReceiverState& state, std::size_t first) {
    FrameBuilder builder = begin(id, plainFlags, 100, state);
    const std::size_t last = std::min(state.satellites.size(), first + satellitesInFrame);
    for (std::size_t index = first; index < last; ++index) {
        const Satellite& satellite = state.satellites[index];
        const std::size_t at = 0x08 + 32 * (index - first);
        builder.u16(at, satellite.number)
            .u16(at + 2, satellite.healthy)
            .u16(at + 4, static_cast<unsigned>(satellite.azimuth))
            .s16(at + 6, satellite.elevation)
            .u16(at + 8, satellite.flagged);
    }
    return builder.frame();
}

}  // namespace

Bytes frame5040(const ReceiverState& state) {
    FrameBuilder builder = begin(5040, statusFlags, 88, state);
    putDateTime(builder, state);
    builder.bits(0x62, 0, 4, state.mode)
        .u16(0x98, state.missionDuration.has_value())
        .capsFloat(0x9C, state.magneticVariation)
        .bits(0xA0, 0, 4, 1);
    return builder.frame();
}

Bytes frame5042(const ReceiverState& state) {
    return begin(5042, statusFlags, 100, state)
        .bits(0x60, 1, 1, state.missionDuration.has_value())
        .u16(0x74, state.missionDuration.value_or(0))
        .frame();
}

Bytes frame5044(const ReceiverState& state, const Warning& warning) {
    return begin(5044, statusFlags, 21, state)
        .u16(0x08, warning.number)
        .text(0x0A, warning.text, warningCharacters)
        .frame();
}

Bytes frame5047(const ReceiverState& state) {
    return riseFrame(5047, state, 0);
}

Bytes frame5048(const ReceiverState& state) {
    return riseFrame(5048, state, satellitesInFrame);
}

Bytes frame8040(const ReceiverState& state) {
    return begin(8040, statusFlags, 25, state).u16(0x08, state.keyStatus).frame();
}

Bytes frame8504(const ReceiverState& state) {
    FrameBuilder builder = begin(8504, statusFlags, 200, state);
    const auto timeOfDay = state.timeOfDay.value_or(milliseconds(0));
    builder.pdpDouble(0x08, static_cast<double>(timeOfDay.count()) / 1000)
        .pdpFloat(0x54, state.magneticVariation * std::numbers::pi / 180)
        .bits(0x60, 0, 4, state.positionQuality)
        .bits(0x60, 4, 1, state.failed)
        .bits(0x60, 5, 1, !state.positionValid)
        .bits(0x61, 0, 2, state.positionValid ? 0 : 3)
        .bits(0x65, 2, 1, state.variationCalculated);
    putDigits(builder, state);
    putPrecision(builder, state.precision);
    for (std::size_t index = 0; index < std::min(state.channels.size(), channelEntries); ++index) {
        putChannel(builder, index, state.channels[index]);
    }
    return builder.frame();
}

std::vector<Bytes> cycleFrames(const ReceiverState& state) {
    std::vector<Bytes> frames{frame5040(state), frame8504(state), frame8040(state),
                              frame5047(state), frame5048(state)};
    if (state.missionDuration) {
        frames.push_back(frame5042(state));
    }
    if (state.warning) {
        frames.push_back(frame5044(state, *state.warning));
    }
    return frames;
}

}  // namespace bench
