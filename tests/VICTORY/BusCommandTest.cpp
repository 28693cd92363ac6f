#include <gmock/gmock.h>

#include "VICTORY/ServerFixture.h"

namespace {

using testing::ElementsAre;

class BusCommand : public RunningServer {
protected:
    int command(const std::vector<VgpsCommand>& entries, std::uint32_t count) {
        VgpsCommandData data{};
        std::copy(entries.begin(), entries.end(), data.commands);
        data.commandCount = count;
        return fake::ask([&](VgpssService& at) { return at.setCommand(at.data, &at, data); });
    }
    /** The words of the warnings that wait. */
    std::vector<std::string> warnings() {
        const VgpscReceiverStatus2Data status = fetchStatus2();
        std::vector<std::string> texts;
        for (std::uint32_t i = 0; i < status.warningCount; ++i) {
            EXPECT_EQ(status.warnings[i].messageId, 62);
            texts.emplace_back(status.warnings[i].customText);
        }
        return texts;
    }
};

TEST_F(BusCommand, WhatIsNotSupportedIsRefusedInTheSystemsWords) {
    EXPECT_EQ(command({{7, 1}, {0, 2}, {0, 3}, {0, 9}, {-1, 0}}, 5), 1);
    EXPECT_THAT(
        warnings(),
        ElementsAre(
            "VGpsReceiverServerVDB command, commandName 7, is not supported from GPS Receiver "
            "service.",
            "VGpsReceiverServer: VGPSC_COMMAND_TYPE_MISSION_DATA_AND_KEYS command is not supported "
            "from GPS Receiver service.",
            "VGpsReceiverServer: VGPSC_COMMAND_TYPE_MISSION_DATA command is not supported from GPS "
            "Receiver service.",
            "VGpsReceiverServerVDB command, commandType 9, is not supported from GPS Receiver "
            "service.",
            "VGpsReceiverServerVDB command, commandName -1, is not supported from GPS Receiver "
            "service."));
}

TEST_F(BusCommand, CountsNoFurtherThanTheRecordHolds) {
    EXPECT_EQ(command({}, 0), 0);
    EXPECT_EQ(command(std::vector<VgpsCommand>(50, {7, 0}), 0xFFFFFFFF), 1);
    EXPECT_EQ(warnings().size(), 50U);
}

TEST_F(BusCommand, AZeroizeThatCannotGoOutFails) {
    // No transport has come up: the bus may ask all the same.
    ASSERT_EQ(configure({}), FACE::RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_EQ(command({{0, 1}}, 1), 1);
    EXPECT_TRUE(warnings().empty());
}

TEST_F(BusCommand, NoOtherOperationsEndIsAWarning) {
    using Command = ClearDataCommand;
    const Captured output;
    for (const auto other :
         {Command::ClearDataZeroize, Command::ClearDataDestroy, Command::ClearDataNone}) {
        EXPECT_FALSE(server.sendVDBCompleteWarning(other, true, "no"));
    }
    EXPECT_TRUE(warnings().empty());
}

TEST_F(BusCommand, ReportsAreNotSlowedBelowASecondNorWithoutAVcl) {
    const Captured output;
    EXPECT_FALSE(server.updateVDMdataRate(999));
    EXPECT_THAT(output.text(), testing::EndsWith("updateVDMdataRate : Updating VDM rate to 999 "
                                                 "milliseconds.\n"));
    setenv("HALCYRINE_ROOT", "/nonexistent", 1);
    EXPECT_FALSE(server.updateVDMdataRate(4294967295));
    unsetenv("HALCYRINE_ROOT");
    EXPECT_EQ(command({}, 0), 0) << "the service runs on";
}

}  // namespace
