#include "bench/Frames.h"

#include <gmock/gmock.h>

#include <set>

#include "bench/Scenario.h"

namespace bench {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;
using testing::ElementsAre;

unsigned word(const Bytes& frame, std::size_t dataOffset) {
    const std::size_t at = 10 + dataOffset;  // behind the header
    return frame.at(at) + 256U * frame.at(at + 1);
}

/** Every field other than its neighbour, so that none can stand in for another. */
ReceiverState distinctState() {
    ReceiverState state;
    state.timeOfValidity = 1.0;
    state.date = 2024y / December / 31;
    state.timeOfDay = 23h + 58min + 57s + 500ms;
    state.timeQuality = 7;
    state.positionValid = true;
    state.failed = true;
    state.positionQuality = 5;
    state.mode = 6;
    state.precision = {1.1, 2.2, 3.3, 1.0, 11, 12, 13.5, 14.25};
    state.channels = {{}, {99, ChannelState::TrackingCarrier, true, 45, 118, 0xB, 0xD}};
    for (unsigned number = 1; number <= 13; ++number) {
        state.satellites.push_back({number, static_cast<int>(number * 20), -5, number != 7, true});
    }
    state.magneticVariation = 180;
    state.missionDuration = 42;
    state.keyStatus = 0x1234;
    state.warning = Warning{81, "LOW"};
    return state;
}

TEST(Frames, FieldsLieInTheirPlaces) {
    struct Case {
        const char* name;
        Bytes frame;
        std::size_t offset;
        unsigned word;
    };
    const ReceiverState state = distinctState();
    ReceiverState unknown = state;
    unknown.date.reset();
    unknown.positionValid = false;
    const Case cases[] = {
        {"5040 time of validity", frame5040(state), 0x00, 0x4080},
        {"5040 hours", frame5040(state), 0x26, 23},
        {"5040 day", frame5040(state), 0x2E, 31},
        {"5040 year", frame5040(state), 0x32, 24},
        {"5040 time status", frame5040(state), 0x54, 1},
        {"5040 time status, no date", frame5040(unknown), 0x54, 0},
        {"5040 mode", frame5040(state), 0x62, 6},
        {"5040 mission word", frame5040(state), 0x98, 1},
        {"5042 mission duration", frame5042(state), 0x74, 42},
        {"5044 number", frame5044(state, *state.warning), 0x08, 81},
        {"5044 text", frame5044(state, *state.warning), 0x0A, 'L' * 256 + 'O'},
        {"5047 first satellite", frame5047(state), 0x08, 1},
        {"5047 healthy", frame5047(state), 0x0A, 1},
        {"5047 elevation", frame5047(state), 0x0E, 0xFFFB},
        {"5047 flag", frame5047(state), 0x10, 1},
        {"5047 sixth satellite", frame5047(state), 0xA8, 6},
        {"5048 seventh satellite", frame5048(state), 0x08, 7},
        {"5048 not healthy", frame5048(state), 0x0A, 0},
        {"8040 status", frame8040(state), 0x08, 0x1234},
        {"8504 time of day", frame8504(state), 0x08, 0x48A8},
        {"8504 variation, pi", frame8504(state), 0x54, 0x4149},
        {"8504 horizontal error", frame8504(state), 0x58, 11},
        {"8504 time error", frame8504(state), 0x5C, 13 * 32 + 16},
        {"8504 velocity error", frame8504(state), 0x5E, 14 * 32 + 8},
        {"8504 status bits", frame8504(state), 0x60, 0x15},
        {"8504 status bits, no fix", frame8504(unknown), 0x60, 0x0335},
        {"8504 date known, variation calculated", frame8504(state), 0x64, 0x0600},
        {"8504 year digits and quality", frame8504(state), 0x66, 0x7024},
        {"8504 day digits, 366", frame8504(state), 0x68, 0x3662},
        {"8504 time quality, no date", frame8504(unknown), 0x66, 0x9000},
        {"8504 precision", frame8504(state), 0x6E, 11},
        {"8504 precision", frame8504(state), 0x72, 33},
        {"8504 position error", frame8504(state), 0x7E, 0x0081},
        {"8504 channel 2, satellite", frame8504(state), 0x98, 0xE302},
        {"8504 channel 2, state and group", frame8504(state), 0x9A, 0x0584},
        {"8504 channel 2, mode", frame8504(state), 0x9E, 0x0D00},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(word(each.frame, each.offset), each.word) << each.name;
    }
}

TEST(Frames, CycleHoldsWhatTheStateHas) {
    const auto ids = [](const ReceiverState& state) {
        std::vector<std::pair<unsigned, std::size_t>> result;
        for (const Bytes& frame : cycleFrames(state)) {
            result.emplace_back(frame[2] + 256U * frame[3], frame.size());
            EXPECT_EQ(checksum(frame), 0) << result.back().first;
        }
        return result;
    };
    using testing::Pair;
    EXPECT_THAT(ids(distinctState()),
                ElementsAre(Pair(5040, 188), Pair(8504, 412), Pair(8040, 62), Pair(5047, 212),
                            Pair(5048, 212), Pair(5042, 212), Pair(5044, 54)));
    EXPECT_EQ(ids(ReceiverState{}).size(), 5U);
}

TEST(Scenario, KeepsWithinWhatTheFramesHold) {
    for (std::size_t cycle = 0; cycle < 3000; ++cycle) {
        SCOPED_TRACE(cycle);
        const ReceiverState state = scenarioAt(cycle);
        EXPECT_EQ(state.timeOfValidity, scenarioAt(0).timeOfValidity + static_cast<double>(cycle));
        ASSERT_LE(state.satellites.size(), 12U);
        std::set<unsigned> numbers;
        for (const Satellite& each : state.satellites) {
            EXPECT_TRUE(numbers.insert(each.number).second && each.number >= 1 &&
                        each.number < 128);
            EXPECT_TRUE(each.azimuth >= 0 && each.azimuth < 360) << each.azimuth;
            EXPECT_TRUE(each.elevation >= 0 && each.elevation <= 90) << each.elevation;
        }
        for (const Channel& each : state.channels) {
            EXPECT_TRUE(each.signal < 64 && each.jamming < 127 && numbers.contains(each.number));
            EXPECT_TRUE(!each.inUse || state.positionValid);
        }
        EXPECT_LE(*state.missionDuration, 84U);
    }
}

TEST(Scenario, TellsItsStory) {
    EXPECT_FALSE(scenarioAt(2).date.has_value());
    EXPECT_EQ(scenarioAt(19).date, 2024y / February / 28);
    EXPECT_EQ(scenarioAt(20).date, 2024y / February / 29);
    for (const std::size_t lost : {5U, 30U, 39U, 95U}) {
        EXPECT_FALSE(scenarioAt(lost).positionValid);
        EXPECT_TRUE(scenarioAt((lost / 10 + 1) * 10).positionValid);
    }
    EXPECT_TRUE(scenarioAt(6).warning.has_value());
    EXPECT_EQ(scenarioAt(10).missionDuration, 71U);
    EXPECT_NE(scenarioAt(0).satellites[0].azimuth, scenarioAt(60).satellites[0].azimuth);
}

}  // namespace
}  // namespace bench
