#include <cmath>
#include <limits>

#include "VICTORY/ConnectedServer.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Builder = bench::FrameBuilder;

class Settings : public ConnectedTest {
protected:
    static int setVariation(int source, double degrees) {
        return fake::ask([&](VgpssService& at) {
            return at.setMagneticVariation(at.data, &at, source, degrees);
        });
    }
    static int setDuration(unsigned duration) {
        return fake::ask(
            [&](VgpssService& at) { return at.setMissionDuration(at.data, &at, duration); });
    }

    /** The receiver reports a pair of messages with this variation [rad]; what that told. */
    static std::vector<std::string> variationsTold(double time, double radians) {
        fake::forget();
        sendPair(time, radians);
        return fake::calls("TellDeviceMagneticVariation");
    }
    /** The receiver reports a mission duration remaining and then a pair, which is waited for. */
    static std::vector<std::string> durationsTold(double time, unsigned remaining) {
        fake::forget();
        unit().send(Channel::TyrHc,
                    Builder(5042, 0x9000, 100).pdpDouble(0, time).u16(0x74, remaining).frame());
        sendPair(time);
        return fake::calls("TellDeviceMissionDuration");
    }
    static void sendPair(double time, double radians = 0) {
        unit().send(Channel::TyrHc, Builder(5040, 0x9000, 88).pdpDouble(0, time).frame());
        unit().send(Channel::TyrHc,
                    Builder(8504, 0x9000, 200).pdpDouble(0, time).pdpFloat(0x54, radians).frame());
        EXPECT_TRUE(eventually([] { return !fake::snapshot().status.empty(); }));
    }
    /** The frame that the receiver gets. */
    static bench::Bytes received() {
        const auto message = unit().take(Channel::HcTyr);
        return message ? message->data() : bench::Bytes();
    }
};

Builder setup() {
    return {5330, 0x9000, 100};
}
Builder localSetup(double degrees) {
    return setup()
        .bits(8, 6, 1, 1)
        .bits(0x17, 0, 4, 1)
        .bits(0x18, 0, 1, 1)
        .capsFloat(0x30, degrees);
}

TEST_F(Settings, MagneticVariationGoesToReceiverAndService) {
    const struct {
        int source;
        double degrees;
        int result;
        const char* told;
        Builder frame;
        const char* printed;
    } rows[] = {
        // Before any report of the receiver its variation is 360.
        {1, 77, 0, "1 360", setup().bits(8, 6, 1, 1),
         "Received a setMagneticVariation call: variation=77 type=1\n: magvar = (calculated)\n"
         " Replaced magvar variance with 360\n"},
        {1, std::nan(""), 0, "1 360", setup().bits(8, 6, 1, 1), ": magvar = (calculated)\n"},
        {0, 190, 0, "0 190", localSetup(-170),
         "Received a setMagneticVariation call: variation=190 type=0\n: magvar = (local)\n"},
        {0, -12.5, 0, "0 -12.5", localSetup(-12.5), ": magvar = (local)\n"},
        {0, 0, 0, "0 0", localSetup(0), ": magvar = (local)\n"},
        {2, 5, 1, "2 5", setup(), "VGpsReceiverServer: Invalid Magnetic Variation type code: 2\n"},
        {-1, 5, 1, "-1 5", setup(),
         "VGpsReceiverServer: Invalid Magnetic Variation type code: -1\n"},
    };
    freshUnit();
    std::int64_t sequence = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.source << ' ' << row.degrees);
        fake::forget();
        Captured output(std::cout);
        EXPECT_EQ(setVariation(row.source, row.degrees), row.result);
        EXPECT_THAT(output.text(), HasSubstr(row.printed));
        EXPECT_THAT(fake::calls(),
                    ElementsAre(std::string("TellDeviceMagneticVariation ") + row.told));
        const auto message = unit().take(Channel::HcTyr);
        ASSERT_TRUE(message);
        EXPECT_EQ(message->data(), row.frame.frame());
        EXPECT_EQ(message->header().device_id(), 0x00002E00);
        EXPECT_EQ(message->header().seq_num(), sequence++);
    }
}

/** The operating mode stays the receiver's, which is no refusal. */
TEST_F(Settings, WhatCannotBeSetGoesNowhere) {
    variationsTold(9, 0);  // for which a set of before may have been waiting
    fake::forget();
    Captured output(std::cout);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(setVariation(0, std::nan("")), 1);
    EXPECT_EQ(setVariation(0, -infinity), 1);
    EXPECT_EQ(setVariation(2, infinity), 1);
    EXPECT_EQ(setDuration(85), 1);
    EXPECT_EQ(setDuration(0xFFFFFFFF), 1);
    for (const int mode : {0, 7, -1, 1 << 30}) {
        EXPECT_EQ(fake::ask([&](auto& at) { return at.setOperatingMode(at.data, &at, mode); }), 0);
    }
    EXPECT_THAT(output.text(), HasSubstr("VGpsReceiverServer: Invalid Magnetic Variation: -inf\n"));
    EXPECT_THAT(output.text(), HasSubstr("VGpsReceiverServer: Invalid Mission Duration: 85\n"));
    EXPECT_THAT(output.text(), HasSubstr("Invalid Mission Duration: 4294967295\n"));
    EXPECT_THAT(output.text(), HasSubstr(": Received a setOperatingMode call (does nothing): \n"));
    EXPECT_THAT(fake::calls(), ElementsAre());
    EXPECT_FALSE(unit().hasSent(Channel::HcTyr));
    // Nothing of the receiver is passed over.
    EXPECT_THAT(variationsTold(10, 0), ElementsAre("TellDeviceMagneticVariation 0 0"));
}

TEST_F(Settings, OneReportOfTheReceiverIsPassedOver) {
    EXPECT_EQ(setVariation(0, 5), 0);
    EXPECT_EQ(setVariation(0, 6), 0);
    EXPECT_THAT(variationsTold(20, 0.5), ElementsAre());
    EXPECT_EQ(setVariation(1, 0), 0) << "what was passed over counts all the same";
    EXPECT_THAT(fake::calls("TellDevice").back(),
                HasSubstr("TellDeviceMagneticVariation 1 28.6479"));
    EXPECT_THAT(variationsTold(21, 0), ElementsAre());
    EXPECT_THAT(variationsTold(22, 0), ElementsAre("TellDeviceMagneticVariation 0 0"));
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(received().empty());
    }
}

TEST_F(Settings, MissionDurationGoesToReceiverAndService) {
    freshUnit();
    EXPECT_THAT(durationsTold(30, 7), ElementsAre()) << "the receiver has none yet";
    for (const unsigned duration : {84U, 0U, 48U}) {
        fake::forget();
        Captured output(std::cout);
        EXPECT_EQ(setDuration(duration), 0);
        EXPECT_EQ(output.text().substr(0, output.text().find('\n')),
                  "Received a setMissionDuration call: duration=" + std::to_string(duration));
        EXPECT_THAT(output.text(), HasSubstr(": publishing message ID 5402 of 168 bytes, seq# "));
        EXPECT_THAT(fake::calls("Tell"),
                    ElementsAre("TellDeviceMissionDuration " + std::to_string(duration)));
        EXPECT_EQ(received(),
                  Builder(5402, 0x9000, 67).bits(0x0A, 3, 1, 1).u16(0x0C, duration).frame());
    }
    EXPECT_EQ(setDuration(85), 1);
    EXPECT_THAT(durationsTold(31, 47), ElementsAre());
    EXPECT_THAT(durationsTold(32, 46), ElementsAre("TellDeviceMissionDuration 46"));
    EXPECT_EQ(setDuration(85), 1);
    EXPECT_THAT(durationsTold(33, 45), ElementsAre("TellDeviceMissionDuration 45"));
}

TEST_F(Settings, AReceiverThatDoesNotReadIsReportedAndServedAgainOnceItReads) {
    const auto before = std::exchange(mcsWriterPort::writeLimit, 1ms);
    unit().resize(Channel::HcTyr, 4096);
    for (int i = 0; i < 60; ++i) {
        EXPECT_EQ(setDuration(48), 0);
    }
    EXPECT_TRUE(unit().ear->hearsEvent("WriteBytes() GSSIP PUBLISH ERROR ("));
    while (unit().hasSent(Channel::HcTyr)) {  // raises where a record is torn
    }
    EXPECT_EQ(setDuration(48), 0);
    EXPECT_FALSE(received().empty());
    mcsWriterPort::writeLimit = before;
}

}  // namespace
