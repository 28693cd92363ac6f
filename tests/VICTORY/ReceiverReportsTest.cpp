#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "VICTORY/ServerFixture.h"

namespace {

class ReceiverReports : public ServerFixture {
protected:
    void SetUp() override { bringUp(); }

    VgpscReceiverStatusData statusOf(const Builder& msg5040, const Builder& msg8504) {
        feed(msg5040);
        feed(msg8504);
        return fake::snapshot().status.back().record;
    }
    fake::Told<VgpscHealthStatusData> healthOf(const Builder& rise1, const Builder& rise2,
                                               const Builder& msg8504) {
        feed(rise1);
        feed(rise2);
        feed(msg8504);
        return fake::snapshot().health.back();
    }
    static std::string lastCall(const std::string& beginning) {
        std::string last;
        for (const std::string& call : fake::snapshot().calls) {
            last = call.starts_with(beginning) ? call : last;
        }
        return last;
    }
};

/** 5040 with a value of its own in every word that is read. */
bench::FrameBuilder full5040() {
    return bench::FrameBuilder(5040, 0x9000, 88)
        .pdpDouble(0, 100)
        .u16(0x26, 23)
        .u16(0x28, 59)
        .u16(0x2A, 58)
        .u16(0x2E, 31)
        .u16(0x30, 12)
        .u16(0x32, 26)
        .u16(0x42, 0xFFF2)
        .u16(0x54, 3)
        .u16(0x62, 0xFFF7)
        .u16(0x8E, 0xABCD)
        .u16(0x90, 0x1234)
        .u16(0x92, 32767)
        .s16(0x94, -250)
        .u16(0x96, 99)
        .u16(0x98, 1)
        .u16(0x9A, 0xFFF5)
        .capsFloat(0x9C, 16)
        .u16(0xA0, 0xFFF0);
}

bench::FrameBuilder full8504() {
    return bench::FrameBuilder(8504, 0x9000, 200)
        .pdpDouble(0, 100.25)
        .pdpFloat(0x54, -0.5)
        .u16(0x58, 11)
        .u16(0x5A, 60000)
        .u16(0x5C, 33)
        .u16(0x5E, 65535)
        .u8(0x60, 0xC0 | 4)
        .u8(0x61, 0xFC | 1)
        .u8(0x65, 0x04)
        .u8(0x67, 0x5F)
        .u16(0x6E, 30)
        .u16(0x70, 40)
        .u16(0x72, 120)
        .u8(0x75, 0xE7 | 0x10)
        .capsFloat(0x7E, 2)
        .u8(0x82, 0xF1);
}

TEST_F(ReceiverReports, StatusCarriesEveryField) {
    const VgpscReceiverStatusData status = statusOf(full5040(), full8504());
    EXPECT_EQ(status.receiverTime, 100.25);
    EXPECT_EQ(status.positionQuality, 4U);
    EXPECT_EQ(status.timeQuality, 5U);
    EXPECT_EQ(status.timeStatus, 3U);
    EXPECT_EQ(status.operatingMode, 7U);
    EXPECT_EQ(status.reservedAPresent, 0U);
    EXPECT_EQ(status.channelCount, 24U);
    EXPECT_EQ(status.statusWordA, 0xABCDU);
    EXPECT_EQ(status.statusWordB, 0x1234U);
    EXPECT_EQ(status.statusWordC, 32767);
    EXPECT_EQ(status.statusValueD, -2.5);
    EXPECT_EQ(status.statusWordE, 99U);
    EXPECT_EQ(status.statusWordF, 5U);
    EXPECT_EQ(status.northReference, 2U);
    EXPECT_EQ(status.northReferenceCorrection, 0.9);
    EXPECT_EQ(status.statusBitsG, 2U);
    EXPECT_EQ(status.datumCode, 206U);
    EXPECT_EQ(status.magneticVariation, -0.5 * 180 / std::numbers::pi + 360);
    EXPECT_EQ(status.magneticVariationSource, 1U);
    EXPECT_EQ(status.positionValid, 1U);
    EXPECT_EQ(status.modeFlagA, 0U);
    EXPECT_EQ(status.modeFlagB, 1U);
    EXPECT_EQ(status.modeFlagC, 0U);
    EXPECT_EQ(status.noChannelInState2, 1U);
    EXPECT_EQ(status.noChannelInState2Or3, 1U);
    EXPECT_EQ(status.precisionTotal, 13.0);
    EXPECT_EQ(status.precisionA, 3.0);
    EXPECT_EQ(status.precisionB, 4.0);
    EXPECT_EQ(status.precisionC, 12.0);
    EXPECT_EQ(status.reservedBPresent, 1U);
    EXPECT_EQ(status.positionError, 2 * 0.3048);
    EXPECT_EQ(status.errorValueA, 11.0);
    EXPECT_EQ(status.errorValueB, 60000.0);
    EXPECT_EQ(status.errorValueC, 1.03125);
    EXPECT_EQ(status.errorValueD, 65535 * 0.03125);
    for (const std::uint32_t present :
         {status.timeStatusPresent,        status.operatingModePresent,
          status.statusWordAPresent,       status.statusWordBPresent,
          status.statusWordCPresent,       status.statusValueDPresent,
          status.statusWordEPresent,       status.statusWordFPresent,
          status.northReferencePresent,    status.northReferenceCorrectionPresent,
          status.statusBitsGPresent,       status.datumCodePresent,
          status.magneticVariationPresent, status.magneticVariationSourcePresent,
          status.positionValidPresent,     status.modeFlagAPresent,
          status.modeFlagBPresent,         status.modeFlagCPresent,
          status.noChannelInState2Present, status.noChannelInState2Or3Present,
          status.precisionTotalPresent,    status.precisionAPresent,
          status.precisionBPresent,        status.precisionCPresent,
          status.positionErrorPresent,     status.errorValueCPresent,
          status.errorValueDPresent}) {
        EXPECT_EQ(present, 1U);
    }
    const auto told = fake::snapshot().status.back();
    EXPECT_EQ(told.count, 24U);
    ASSERT_TRUE(told.date);
    EXPECT_EQ(told.date->year, 2026U);
    EXPECT_EQ(told.date->month, 12U);
    EXPECT_EQ(told.date->day, 31U);
    EXPECT_EQ(told.date->hours, 23U);
    EXPECT_EQ(told.date->minutes, 59U);
    EXPECT_EQ(told.date->seconds, 58U);
    EXPECT_EQ(told.date->nanoseconds, 0U);
    EXPECT_EQ(lastCall("TellDeviceOperatingMode"), "TellDeviceOperatingMode 7");
    EXPECT_EQ(lastCall("TellDeviceMagneticVariation"), "TellDeviceMagneticVariation 1 331.352");
}

TEST_F(ReceiverReports, StatusLeavesOutWhatIsOutOfRange) {
    const VgpscReceiverStatusData status =
        statusOf(message(5040, 1).u16(0x42, 3).u16(0x54, 1).u16(0x62, 8).s16(0x92, -1).u16(0x9A, 8),
                 message(8504, 1).u8(0x75, 0x18).u8(0x61, 3));
    EXPECT_EQ(status.operatingModePresent, 0U);
    EXPECT_EQ(status.statusWordCPresent, 0U);
    EXPECT_EQ(status.statusWordC, 0);
    EXPECT_EQ(status.statusWordFPresent, 0U);
    EXPECT_EQ(status.northReferencePresent, 0U);
    EXPECT_EQ(status.northReferenceCorrectionPresent, 1U);
    EXPECT_EQ(status.statusBitsGPresent, 0U);
    EXPECT_EQ(status.modeFlagA + status.modeFlagB + status.modeFlagC, 0U);
    EXPECT_EQ(lastCall("TellDeviceOperatingMode"), "TellDeviceOperatingMode -1");
}

TEST_F(ReceiverReports, WithoutTimeThereIsNoDateAndNoNorthReference) {
    const VgpscReceiverStatusData status = statusOf(full5040().u16(0x54, 0), message(8504, 100));
    EXPECT_FALSE(fake::snapshot().status.back().date);
    EXPECT_EQ(status.timeStatusPresent, 1U);
    EXPECT_EQ(status.northReferencePresent, 0U);
    EXPECT_EQ(status.northReferenceCorrectionPresent, 0U);
}

TEST_F(ReceiverReports, InvalidPositionEmptiesItsFieldsAlone) {
    bench::FrameBuilder msg8504 = full8504().u8(0x60, 0x24);
    msg8504.u8(0x90 + 1, 0x80 | 17).u8(0x90 + 2, 4);
    const VgpscReceiverStatusData status = statusOf(full5040(), msg8504);
    EXPECT_EQ(status.positionQuality, 9U);
    EXPECT_EQ(status.timeQuality, 9U);
    EXPECT_EQ(status.positionValid, 0U);
    EXPECT_EQ(status.positionValidPresent, 1U);
    EXPECT_EQ(status.precisionTotalPresent + status.precisionAPresent + status.precisionBPresent +
                  status.precisionCPresent + status.positionErrorPresent +
                  status.errorValueCPresent + status.errorValueDPresent,
              0U);
    EXPECT_EQ(status.errorValueA + status.errorValueB + status.precisionTotal, 0.0);
    EXPECT_EQ(status.channels[0].svNumber, 17U);
}

TEST_F(ReceiverReports, UnitsBecomeDegreesAndMetres) {
    const std::pair<unsigned, double> north[] = {
        {0, 0.05625}, {1, 1.0}, {2, 0.05714285714285714}, {3, 1.0}};
    for (const auto& [units, factor] : north) {
        EXPECT_EQ(
            VGpsReceiverServer::northRefCorrectionUnitsConvert(static_cast<std::uint16_t>(units)),
            factor);
    }
    const double metres[] = {1.0, 0.3048, 0.9144, 1000.0, 1609.344, 1852.0, 1.0, 1.0};
    for (std::uint16_t units = 0; units < 8; ++units) {
        EXPECT_EQ(VGpsReceiverServer::positionErrorUnitsConvert(units), metres[units]);
    }
}

TEST_F(ReceiverReports, ChannelStateDecidesItsCodes) {
    struct Row {
        std::uint32_t stateClass, present, activity, stateCode;
    };
    const Row rows[16] = {{0, 0, 0, 4}, {3, 1, 1, 4}, {0, 0, 1, 3}, {0, 1, 1, 0},
                          {1, 1, 1, 1}, {2, 1, 1, 2}, {2, 1, 1, 2}, {3, 1, 2, 4},
                          {3, 1, 2, 4}, {3, 1, 2, 4}, {3, 1, 2, 4}, {3, 1, 2, 4},
                          {3, 1, 2, 4}, {3, 1, 2, 4}, {3, 1, 2, 4}, {3, 1, 2, 4}};
    for (std::uint8_t state = 0; state < 16; ++state) {
        const auto channel = VGpsReceiverServer::encodeVictoryChannelStatus(
            {{0x5A, 0x80 | 31, static_cast<std::uint8_t>(0x70 | state), 0xF8, 0xEA, 0xF7, 0,
              0xF8}});
        EXPECT_EQ(channel.svNumber, 31U);
        EXPECT_EQ(channel.stateClass, rows[state].stateClass) << int{state};
        EXPECT_EQ(channel.stateClassPresent, rows[state].present) << int{state};
        EXPECT_EQ(channel.activity, rows[state].activity) << int{state};
        EXPECT_EQ(channel.stateCode, rows[state].stateCode) << int{state};
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
    for (const auto& [b2, b3, expected] : group) {
        EXPECT_EQ(
            VGpsReceiverServer::encodeVictoryChannelStatus({{0, 0, b2, b3, 0, 0, 0, 7}}).groupClass,
            expected);
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
        const VgpscReceiverStatusData status = statusOf(message(5040, 1), msg8504);
        EXPECT_EQ(status.noChannelInState2, row.no2) << row.channel;
        EXPECT_EQ(status.noChannelInState2Or3, row.no2Or3) << row.channel;
    }
}

TEST_F(ReceiverReports, AnyMagneticVariationFoldsInBoundedTime) {
    for (const double radians : {1e30, -1e30, 1e10, 0.0}) {
        const VgpscReceiverStatusData status =
            statusOf(message(5040, 1), message(8504, 1).pdpFloat(0x54, radians));
        EXPECT_GE(status.magneticVariation, 0.0);
        EXPECT_LE(status.magneticVariation, 360.0);
    }
}

TEST_F(ReceiverReports, Status2TellsTheReceiversWord) {
    EXPECT_EQ(fetchStatus2().status2Code, 1U) << "before the first message";
    struct Row {
        unsigned word, value, code;
    };
    for (const Row& row : {Row{0x2001, 0, 6}, Row{0x0001, 0, 2}, Row{0x1000, 0, 5},
                           Row{0x3000, 0, 1}, Row{0x1001, 0, 2}, Row{0xCFFC, 0x3FF, 1}}) {
        feed(message(8040, 42).u16(8, row.word));
        const VgpscReceiverStatus2Data status = fetchStatus2();
        EXPECT_EQ(status.receiverTime, 42.0);
        EXPECT_EQ(status.status2Code, row.code) << std::hex << row.word;
        EXPECT_EQ(status.status2Value, row.value) << std::hex << row.word;
        EXPECT_EQ(status.status2ValuePresent + status.status2CodePresent, 2U);
    }
    EXPECT_FALSE(fake::snapshot().status2.back().date);
}

TEST_F(ReceiverReports, HealthClosesTheGapsBetweenSatellites) {
    bench::FrameBuilder rise1 = message(5047, 1);
    rise1.u16(0x08 + 32, 5).u16(0x08 + 34, 1).u16(0x08 + 36, 0).s16(0x08 + 38, -5);
    rise1.u16(0x08 + 96, 9).u16(0x08 + 100, 90).s16(0x08 + 102, 45).u16(0x08 + 104, 0xFFFF);
    const bench::FrameBuilder rise2 = message(5048, 1).u16(0x08, 300).u16(0x0C, 359);
    const auto told = healthOf(rise1, rise2, message(8504, 1));
    EXPECT_EQ(told.count, 3U);
    EXPECT_FALSE(told.date);
    const VgpscHealthStatusData& health = told.record;
    EXPECT_EQ(health.recordKind, 3U);
    EXPECT_EQ(health.svCount, 3U);
    EXPECT_EQ(health.dateTime.year, 0U);
    EXPECT_THAT((std::array{health.svs[0].svNumber, health.svs[1].svNumber, health.svs[2].svNumber,
                            health.svs[3].svNumber}),
                testing::ElementsAre(5, 9, 300, 0));
    EXPECT_EQ(health.svs[0].health, 0U);
    EXPECT_EQ(health.svs[1].health, 2U);
    const VgpscHealthStatus2Data places = fake::snapshot().health2.back().record;
    EXPECT_EQ(places.svCount, 3U);
    EXPECT_EQ(places.svs[0].azimuth, 6.283185307179586) << "0 stands for 360";
    EXPECT_EQ(places.svs[0].elevation, -5 * std::numbers::pi / 180);
    EXPECT_EQ(places.svs[1].azimuth, 90 * std::numbers::pi / 180);
    EXPECT_EQ(places.svs[1].slotFlag, 1U);
    EXPECT_EQ(places.svs[2].slotFlag, 0U);
}

TEST_F(ReceiverReports, HealthDateComesFromTheDigits) {
    struct Row {
        unsigned flags, quality;  // bytes 0x65 and 0x67
        double time;
        std::uint32_t hours, minutes, seconds, nanoseconds;
        bool known;
    };
    for (const Row& row :
         {Row{0x02, 0x80, 86399.5, 23, 59, 59, 500000000, true},
          Row{0x02, 0x00, 0, 0, 0, 0, 0, true}, Row{0x02, 0x00, 3661.25, 1, 1, 1, 250000000, true},
          Row{0x02, 0x90, 1, 0, 0, 0, 0, false}, Row{0xFD, 0x00, 1, 0, 0, 0, 0, false}}) {
        // The year 2024, a leap year, and its day 60: the 29th of February.
        const auto told = healthOf(message(5047, 1), message(5048, 1),
                                   message(8504, 1)
                                       .pdpDouble(8, row.time)
                                       .u8(0x65, row.flags)
                                       .u8(0x66, 0x24)
                                       .u8(0x67, row.quality)
                                       .u8(0x68, 0x02)
                                       .u8(0x69, 0x06));
        ASSERT_EQ(told.date.has_value(), row.known) << row.time;
        EXPECT_EQ(told.count, 0U);
        EXPECT_EQ(told.record.dateTime.year, row.known ? 2024U : 0U);
        if (row.known) {
            EXPECT_EQ(told.date->month, 2U);
            EXPECT_EQ(told.date->day, 29U);
            EXPECT_EQ(told.date->hours, row.hours);
            EXPECT_EQ(told.date->minutes, row.minutes);
            EXPECT_EQ(told.date->seconds, row.seconds);
            EXPECT_EQ(told.date->nanoseconds, row.nanoseconds);
        }
    }
}

TEST_F(ReceiverReports, AnyTimeOfDayIsSplitWithoutOverflow) {
    for (const double time : {1e30, -1e30, -1.0, 5e12}) {
        EXPECT_TRUE(healthOf(message(5047, 1), message(5048, 1),
                             message(8504, 1).pdpDouble(8, time).u8(0x65, 2))
                        .date);
    }
}

}  // namespace
