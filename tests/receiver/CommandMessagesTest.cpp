#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>

#include "receiver/ReceiverFixture.h"
#include "receiver/Tyrn5402Msg.h"
#include "receiver/TyrnUnitSetupMsg.h"

using namespace receiver_test;

namespace {

using Set = std::map<std::size_t, unsigned>;

/** The frame as it goes out behind a header of `head`: index and value of the words not 0. */
Set sentBehind(const Words& head, std::size_t words, GssipMessage& message) {
    Sink sink;
    message.WriteMessage(&sink);
    const Words frame = sink.frames.at(0);
    EXPECT_EQ(frame.size(), words);
    EXPECT_EQ(Words(frame.begin(), frame.begin() + 5), head);
    Set set;
    for (std::size_t i = 5; i < frame.size(); ++i) {
        if (frame[i] != 0) {
            set[i] = frame[i];
        }
    }
    return set;
}

Set sent(Tyrn_5402_Msg& message) {
    return sentBehind({0x81FF, 0x151A, 67, 0x9000, 0xD8A4}, 73, message);
}

Set sent(TyrnUnitSetupMsg& message) {
    return sentBehind({0x81FF, 0x14D2, 100, 0x9000, 0xD8CB}, 106, message);
}

}  // namespace

TEST(Tyrn5402, EachSetterSelectsItsField) {
    Tyrn_5402_Msg message;
    EXPECT_FALSE(message.setMissionDuration(85));
    EXPECT_FALSE(message.setMissionDuration(0x10001));
    EXPECT_EQ(sent(message), Set{});

    EXPECT_TRUE(message.setMissionDuration(84));
    EXPECT_EQ(sent(message), (Set{{10, 8}, {11, 84}, {72, 0xFFA4}}));
    message.setCvZeroize();
    EXPECT_EQ(sent(message), (Set{{9, 0x10}, {10, 9}, {11, 84}, {72, 0xFF93}}));
    message.setIpZeroize();
    EXPECT_EQ(sent(message), (Set{{9, 0x11}, {10, 0x29}, {11, 84}, {72, 0xFF72}}));
    EXPECT_TRUE(message.setMissionDuration(0));
    EXPECT_EQ(sent(message), (Set{{9, 0x11}, {10, 0x29}, {72, 0xFFC6}}));
}

TEST(TyrnUnitSetup, MagneticVariationOfAClient) {
    TyrnUnitSetupMsg message;
    message.setMagVarType(e5330_MagVarType::Local);
    EXPECT_EQ(sent(message), (Set{{9, 0x40}, {16, 0x100}, {105, 0xFEC0}}));
    message.setMagVariation(190.0, e5330_MagVarUnits::Degrees);  // -170
    EXPECT_EQ(sent(message),
              (Set{{9, 0x40}, {16, 0x100}, {17, 1}, {29, 0x0088}, {30, 0xAA00}, {105, 0x5437}}));
    message.setMagVarType(e5330_MagVarType::Calculated);
    EXPECT_EQ(sent(message).count(16), 0U);
}

TEST(TyrnUnitSetup, FoldsByUnits) {
    struct Case {
        unsigned units;
        double value;
        Set caps;
    };
    const Case cases[] = {{0, 180.0, {{29, 0x0088}, {30, 0x3400}}},
                          {1, -190.0, {{29, 0x0088}, {30, 0x2A00}, {31, 1}}},
                          {2, 3300.0, {{29, 0x008C}, {30, 0xC1C0}, {31, 2}}},
                          {3, 3200.0, {{29, 0x008C}, {30, 0xC1C0}, {31, 3}}}};
    for (const Case& each : cases) {
        TyrnUnitSetupMsg message;
        message.setMagVariation(each.value, static_cast<e5330_MagVarUnits>(each.units));
        Set set = sent(message);
        EXPECT_EQ(set.extract(17).mapped(), 1U);
        set.erase(105);
        EXPECT_EQ(set, each.caps) << each.units;
    }
}

TEST(TyrnUnitSetup, OtherSettings) {
    TyrnUnitSetupMsg message;
    message.setFrequencyType(e5330_FrequencyType::Type2);
    EXPECT_EQ(sent(message), (Set{{9, 4}, {26, 2}, {105, 0xFFFA}}));
    message.setElevationHoldType(e5330_ElevHoldType::Type1);
    message.setFrequencyType(e5330_FrequencyType::Type1);
    EXPECT_EQ(sent(message), (Set{{9, 5}, {26, 0x1001}, {105, 0xEFFA}}));
}

TEST(TyrnUnitSetup, ValueBeyondItsEnumerationChangesNothing) {
    TyrnUnitSetupMsg message;
    message.setFrequencyType(static_cast<e5330_FrequencyType>(3));
    message.setElevationHoldType(static_cast<e5330_ElevHoldType>(2));
    message.setMagVarType(static_cast<e5330_MagVarType>(2));
    message.setMagVariation(10.0, static_cast<e5330_MagVarUnits>(5));
    message.setMagVariation(10.0, static_cast<e5330_MagVarUnits>(0xFFFFFFFF));
    message.setMagVariation(std::nan(""), e5330_MagVarUnits::Degrees);
    message.setMagVariation(-std::numeric_limits<double>::infinity(), e5330_MagVarUnits::Degrees);
    EXPECT_EQ(sent(message), Set{});
}
