#include <gmock/gmock.h>

#include <numbers>

#include "VICTORY/ServerFixture.h"
#include "victory/src/RecordJson.h"

namespace {

using nlohmann::json;

/** A record as the bus shows it: fields by their names, absent ones left out. */
template <typename Record>
json shown(const fake::Told<Record>& told) {
    return json::parse(victory::encode(told.record, told.count).dump());
}
std::string shown(const VgpscDateTime& date) {
    return utilities::concat(date.year, '-', date.month, '-', date.day, ' ', date.hours, ':',
                             date.minutes, ':', date.seconds, '.', date.nanoseconds);
}

class ReceiverReports : public RunningServer {
protected:
    fake::Told<VgpscReceiverStatusData> statusOf(const Builder& msg5040, const Builder& msg8504) {
        feed(msg5040);
        feed(msg8504);
        return fake::snapshot().status.back();
    }
    fake::Told<VgpscHealthStatusData> healthOf(const Builder& rise1, const Builder& rise2,
                                               const Builder& msg8504) {
        feed(rise1);
        feed(rise2);
        feed(msg8504);
        return fake::snapshot().health.back();
    }
};

/** Sets words: an offset, its value, the next offset and so on. */
bench::FrameBuilder words(bench::FrameBuilder builder, const std::vector<unsigned>& values) {
    for (std::size_t i = 0; i + 1 < values.size(); i += 2) {
        builder.u16(values[i], values[i + 1]);
    }
    return builder;
}

/** 5040 with a value of its own in every word that is read. */
bench::FrameBuilder full5040() {
    return words(bench::FrameBuilder(5040, 0x9000, 88).pdpDouble(0, 100).capsFloat(0x9C, 16),
                 {0x26, 23,     0x28, 59, 0x2A, 58,     0x2E, 31,     0x30, 12,     0x32, 26,
                  0x42, 0xFFF2, 0x54, 3,  0x62, 0xFFF7, 0x8E, 0xABCD, 0x90, 0x1234, 0x92, 32767,
                  0x94, 0xFF06, 0x96, 99, 0x98, 1,      0x9A, 0xFFF5, 0xA0, 0xFFF0});
}

bench::FrameBuilder full8504() {
    return words(bench::FrameBuilder(8504, 0x9000, 200)
                     .pdpDouble(0, 100.25)
                     .pdpFloat(0x54, -0.5)
                     .u8(0x65, 0x04)
                     .u8(0x67, 0x5F)
                     .u8(0x75, 0xE7 | 0x10)
                     .capsFloat(0x7E, 2)
                     .u8(0x82, 0xF1)
                     .u8(0x91, 0x80 | 17)
                     .u8(0x92, 4),  // a channel in use
                 {0x58, 11, 0x5A, 60000, 0x5C, 33, 0x5E, 65535, 0x60, 0xFDC4, 0x6E, 30, 0x70, 40,
                  0x72, 120});
}

TEST_F(ReceiverReports, StatusCarriesEveryField) {
    auto told = statusOf(full5040(), full8504());
    ASSERT_TRUE(told.date);
    EXPECT_EQ(shown(*told.date), "2026-12-31 23:59:58.0");
    EXPECT_EQ(told.record.reservedAPresent, 0U);
    EXPECT_EQ(told.record.reservedBPresent, 1U);
    EXPECT_EQ(told.count, 24U);
    told.count = 0;  // the channels have a test of their own
    json expected = json::parse(R"({"receiverTime": 100.25, "positionQuality": 4,
        "timeQuality": 5, "timeStatus": 3, "operatingMode": 7, "channelCount": 24,
        "statusWordA": 43981, "statusWordB": 4660, "statusWordC": 32767, "statusValueD": -2.5,
        "statusWordE": 99, "statusWordF": 5, "northReference": 2, "northReferenceCorrection": 0.9,
        "statusBitsG": 2, "datumCode": 206, "magneticVariationSource": 1, "positionValid": 1,
        "modeFlagA": 0, "modeFlagB": 1, "modeFlagC": 0, "noChannelInState2": 1,
        "noChannelInState2Or3": 1, "precisionTotal": 13, "precisionA": 3, "precisionB": 4,
        "precisionC": 12, "positionError": 0.6096, "errorValueA": 11, "errorValueB": 60000,
        "errorValueC": 1.03125, "errorValueD": 2047.96875, "channels": []})");
    expected["magneticVariation"] = -0.5 * 180 / std::numbers::pi + 360;
    EXPECT_EQ(shown(told), expected);
    EXPECT_THAT(fake::snapshot().calls,
                testing::IsSupersetOf(
                    {"TellDeviceOperatingMode 7", "TellDeviceMagneticVariation 1 331.352"}));
}

TEST_F(ReceiverReports, StatusLeavesOutWhatIsNotThere) {
    using Names = std::vector<std::string>;
    const struct {
        const char* name;
        Builder msg5040, msg8504;
        Names absent;
        const char* changed;
    } rows[] = {{"out of range",
                 words(full5040(), {0x42, 3, 0x54, 1, 0x62, 8, 0x92, 0xFFFF, 0x9A, 8}),
                 full8504().u8(0x75, 0x18).u8(0x61, 3),
                 {"operatingMode", "statusWordC", "statusWordF", "northReference", "statusBitsG"},
                 R"({"modeFlagB": 0, "timeStatus": 1})"},
                {"no time",
                 full5040().u16(0x54, 0),
                 full8504(),
                 {"northReference", "northReferenceCorrection"},
                 R"({"timeStatus": 0})"},
                {"position invalid",
                 full5040(),
                 full8504().u8(0x60, 0x24),
                 {"precisionTotal", "precisionA", "precisionB", "precisionC", "positionError",
                  "errorValueC", "errorValueD"},
                 R"({"positionValid": 0, "positionQuality": 9, "timeQuality": 9, "errorValueA": 0,
             "errorValueB": 0})"}};
    const json whole = shown(statusOf(full5040(), full8504()));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto told = statusOf(row.msg5040, row.msg8504);
        json expected = whole;
        std::ranges::for_each(row.absent, [&](const auto& name) { expected.erase(name); });
        expected.update(json::parse(row.changed));
        EXPECT_EQ(json::diff(expected, shown(told)), json::array());
        EXPECT_EQ(told.record.statusWordC, expected.value("statusWordC", 0)) << "absent, and 0";
        EXPECT_EQ(told.record.precisionTotal, expected.value("precisionTotal", 0.0));
        EXPECT_EQ(told.date.has_value(), row.name != std::string("no time"));
        EXPECT_EQ(told.record.channels[0].svNumber, 17U) << "channels stay";
    }
    EXPECT_THAT(fake::snapshot().calls, testing::Contains("TellDeviceOperatingMode -1"));
}

TEST_F(ReceiverReports, UnitsBecomeDegreesAndMetres) {
    const double degrees[] = {0.05625, 1.0, 0.05714285714285714, 1.0};
    for (std::uint16_t units = 0; units < 4; ++units) {
        EXPECT_EQ(VGpsReceiverServer::northRefCorrectionUnitsConvert(units), degrees[units]);
    }
    const double metres[] = {1.0, 0.3048, 0.9144, 1000.0, 1609.344, 1852.0, 1.0, 1.0};
    for (std::uint16_t units = 0; units < 8; ++units) {
        EXPECT_EQ(VGpsReceiverServer::positionErrorUnitsConvert(units), metres[units]);
    }
}

TEST_F(ReceiverReports, ChannelStateDecidesItsCodes) {
    const std::array<std::uint32_t, 4> rows[] = {{0, 0, 0, 4}, {3, 1, 1, 4}, {0, 0, 1, 3},
                                                 {0, 1, 1, 0}, {1, 1, 1, 1}, {2, 1, 1, 2},
                                                 {2, 1, 1, 2}, {3, 1, 2, 4}};
    for (std::uint8_t state = 0; state < 16; ++state) {
        const auto& [stateClass, present, activity, stateCode] =
            rows[std::min<std::size_t>(state, 7)];
        const auto channel = VGpsReceiverServer::encodeVictoryChannelStatus(
            {{0x5A, 0x80 | 31, static_cast<std::uint8_t>(0x70 | state), 0xF8, 0xEA, 0xF7, 0,
              0xF8}});
        EXPECT_EQ(channel.svNumber, 31U);
        EXPECT_EQ(channel.stateClass, stateClass) << int{state};
        EXPECT_EQ(channel.stateClassPresent, present) << int{state};
        EXPECT_EQ(channel.activity, activity) << int{state};
        EXPECT_EQ(channel.stateCode, stateCode) << int{state};
        EXPECT_EQ(channel.doubledTerm, 2.0 * (7 << 2 | 3));
        EXPECT_EQ(channel.plainTerm, 0x2A);
        EXPECT_EQ(channel.channelByte, 0x5AU);
        EXPECT_EQ(channel.inUse, 1U);
        EXPECT_EQ(channel.modeNibble, 0U) << "above 7 counts as 0";
        EXPECT_EQ(channel.activityPresent + channel.doubledTermPresent + channel.inUsePresent +
                      channel.groupClassPresent,
                  4U);
    }
    // The group lies across two bytes: f = 1 and 2 have a class of their own.
    const std::array<std::uint8_t, 3> group[] = {{0x80, 0, 0}, {0, 1, 1}, {0x80, 1, 2}, {0, 0, 2}};
    for (const auto& [b2, b3, groupClass] : group) {
        EXPECT_EQ(
            VGpsReceiverServer::encodeVictoryChannelStatus({{0, 0, b2, b3, 0, 0, 0, 7}}).groupClass,
            groupClass);
    }
}

TEST_F(ReceiverReports, ChannelsInUseDecideTheFlagsAlsoBeyondTheRecord) {
    struct Row {
        std::size_t channel;
        std::uint8_t state;
        bool inUse;
        std::uint32_t no2, no2Or3;
    };
    for (const Row& row : {Row{0, 2, true, 0, 0}, Row{31, 2, true, 0, 0}, Row{24, 3, true, 1, 0},
                           Row{5, 2, false, 1, 1}, Row{5, 4, true, 1, 1}}) {
        bench::FrameBuilder msg8504 = message(8504, 1);
        msg8504.u8(0x90 + 8 * row.channel + 1, row.inUse ? 0x81 : 0x01)
            .u8(0x90 + 8 * row.channel + 2, row.state);
        const VgpscReceiverStatusData status = statusOf(message(5040, 1), msg8504).record;
        EXPECT_EQ(status.noChannelInState2, row.no2) << row.channel;
        EXPECT_EQ(status.noChannelInState2Or3, row.no2Or3) << row.channel;
    }
}

TEST_F(ReceiverReports, AnyMagneticVariationAndTimeOfDayTakeBoundedTimeWithoutOverflow) {
    for (const double any : {1e30, -1e30, 1e10, 5e12, -1.0, 0.0}) {
        feed(message(5040, 1));
        const auto health =
            healthOf(message(5047, 1), message(5048, 1),
                     message(8504, 1).pdpFloat(0x54, any).pdpDouble(8, any).u8(0x65, 2));
        EXPECT_TRUE(health.date);
        const double variation = fake::snapshot().status.back().record.magneticVariation;
        EXPECT_TRUE(variation >= 0 && variation <= 360) << variation;
    }
}

TEST_F(ReceiverReports, Status2TellsTheReceiversWord) {
    EXPECT_EQ(fetchStatus2().status2Code, 1U) << "before the first message";
    const std::array<unsigned, 3> rows[] = {{0x2001, 0, 6}, {0x0001, 0, 2}, {0x1000, 0, 5},
                                            {0x3000, 0, 1}, {0x1001, 0, 2}, {0xCFFC, 0x3FF, 1}};
    for (const auto& [word, value, code] : rows) {
        feed(message(8040, 42).u16(8, word));
        fetchStatus2();
        const auto told = fake::snapshot().status2.back();
        EXPECT_FALSE(told.date);
        EXPECT_EQ(shown(told).dump(), utilities::concat(R"({"receiverTime":42.0,"status2Code":)",
                                                        code, R"(,"status2Value":)", value,
                                                        R"(,"warningCount":0,"warnings":[]})"));
    }
}

TEST_F(ReceiverReports, HealthClosesTheGapsBetweenSatellites) {
    const Builder rise1 = words(message(5047, 1), {0x28, 5, 0x2A, 1, 0x2C, 0, 0x2E, 0xFFFB, 0x68, 9,
                                                   0x6C, 90, 0x6E, 45, 0x70, 0xFFFF});
    const auto told =
        healthOf(rise1, words(message(5048, 1), {0x08, 300, 0x0C, 359}), message(8504, 1));
    EXPECT_FALSE(told.date);
    EXPECT_EQ(told.record.dateTime.year, 0U);
    EXPECT_EQ(shown(told), json::parse(R"({"recordKind": 3, "svCount": 3, "svs": [
        {"svNumber": 5, "health": 0}, {"svNumber": 9, "health": 2},
        {"svNumber": 300, "health": 2}]})"));
    const auto places = shown(fake::snapshot().health2.back())["svs"];
    ASSERT_EQ(places.size(), 3U);
    constexpr double degree = std::numbers::pi / 180;
    EXPECT_EQ(places[0]["azimuth"], 6.283185307179586) << "0 stands for 360";
    EXPECT_EQ(places[0]["elevation"], -5 * degree);
    EXPECT_EQ(places[1]["azimuth"], 90 * degree);
    EXPECT_EQ(places[1]["slotFlag"], 1);
    EXPECT_EQ(places[2]["slotFlag"], 0);
}

TEST_F(ReceiverReports, HealthDateComesFromTheDigits) {
    const struct {
        unsigned flags, quality;  // bytes 0x65 and 0x67
        double time;
        const char* date;  // null: unknown
    } rows[] = {{0x02, 0x80, 86399.5, "2024-2-29 23:59:59.500000000"},
                {0x02, 0x00, 0, "2024-2-29 0:0:0.0"},
                {0x02, 0x00, 3661.25, "2024-2-29 1:1:1.250000000"},
                {0x02, 0x90, 1, nullptr},
                {0xFD, 0x00, 1, nullptr}};
    for (const auto& row : rows) {
        // The year 2024, a leap year, and its day 60.
        auto msg8504 = words(message(8504, 1).pdpDouble(8, row.time), {0x68, 0x0602});
        msg8504.u8(0x65, row.flags).u8(0x66, 0x24).u8(0x67, row.quality);
        const auto told = healthOf(message(5047, 1), message(5048, 1), msg8504);
        ASSERT_EQ(told.date.has_value(), row.date != nullptr) << row.time;
        EXPECT_EQ(told.count, 0U);
        EXPECT_EQ(told.record.dateTime.year, told.date ? 2024U : 0U);
        if (told.date) {
            EXPECT_EQ(shown(*told.date), row.date);
        }
    }
}

}  // namespace
