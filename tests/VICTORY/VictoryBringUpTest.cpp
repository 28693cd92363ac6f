#include <gmock/gmock.h>

#include <thread>

#include "VICTORY/ServerFixture.h"
#include "VICTORY/Utilities/VictoryXmlHelpers.h"

namespace {

using testing::ElementsAre;

constexpr const char* identity =
    "NewService Merrowin Avionics|Zarvok-700|Type No. 47QK-100, Part No. 510-2288-100";

using VictoryBringUp = ServerFixture;

TEST_F(VictoryBringUp, RegistersThenStartsThenTellsManagementData) {
    const auto callsOf = [this](const char* testMode) {
        configure({{"PARAM_2", testMode}});
        fake::forget();
        EXPECT_TRUE(server.InitializeVictory(nullptr));
        const auto calls = fake::calls();
        EXPECT_TRUE(server.InitializeVictory("<other/>"));
        EXPECT_EQ(fake::calls(), calls) << "the running service is left alone";
        EXPECT_TRUE(server.ShutdownVictory());
        return calls;
    };
    auto calls = callsOf("true");
    EXPECT_THAT(
        calls,
        ElementsAre("Read /opt/halcyrine/config/GPSReceiverServiceConfig_1_9.xml",
                    "Read /opt/halcyrine/config/GPSReceiver_VCL_1_9.xml", identity, "InitSaveVclid",
                    "InitPubGroup 0 1", "InitPubGroup 3 1", "InitPubGroup 1 1", "InitPubGroup 4 1",
                    "InitTellCallback 1", "InitSetCommand", "InitSetMagneticVariation",
                    "InitSetMissionDuration", "InitSetOperatingMode", "InitSetReceiverHotStartData",
                    "InitSetReceiverHotStartPort", "StartService", "TellDeviceDatumCode 206 0",
                    "TellDeviceMissionDuration 0", "TellDeviceReceiverPorts 12",
                    "TellDeviceReceiverHotStartData 3 1", "TellDeviceMaximumUserDefinedDatums 2"));
    for (const char* const inTestMode :
         {"InitSetMagneticVariation", "InitSetMissionDuration", "InitSetOperatingMode",
          "TellDeviceReceiverHotStartData 3 1"}) {
        std::erase(calls, inTestMode);
    }
    EXPECT_EQ(callsOf("false"), calls);
    const VgpscReceiverPorts ports = fake::snapshot().ports[0];
    EXPECT_STREQ(ports.names[0], "J1COM1");
    EXPECT_STREQ(ports.names[11], "J4COM3");
}

TEST_F(VictoryBringUp, InTestModeTheDefaultRecordIsMessage5127) {
    configure({{"PARAM_2", "true"}});
    ASSERT_TRUE(server.InitializeVictory(nullptr));
    const auto told = std::make_unique<VgpscReceiverHotStartData>(fake::snapshot().hotStartData[0]);
    EXPECT_EQ(told->hotStartMode, 3U);
    EXPECT_EQ(told->messageCount, 1U);
    const VgpscHotStartMessage& message = told->messages[0];
    EXPECT_EQ(message.messageId, 7);
    EXPECT_EQ(message.sequence, 1U);
    bench::Bytes frame{0xFF, 0x81, 0x07, 0x14, 0x10, 0x00, 0x00, 0x80, 0xEA, 0xE9};
    frame.resize(44);
    EXPECT_EQ(bench::Bytes(message.bytes, message.bytes + message.length), frame);
}

TEST_F(VictoryBringUp, OnlyAnUnreadableFileIsReported) {
    const Captured output;
    fake::with([](fake::Victory& victory) { victory.newServiceFails = true; });
    EXPECT_FALSE(server.InitializeVictory(nullptr));
    EXPECT_FALSE(server.ShutdownVictory());
    EXPECT_EQ(output.text(), "");
    fake::with([](fake::Victory& victory) { victory.readFails = true; });
    EXPECT_FALSE(server.InitializeVictory(nullptr));
    EXPECT_FALSE(server.ShutdownVictory());
    EXPECT_EQ(output.text(),
              "VGpsReceiverServer Error reading VICTORY GPS Receiver configuration file.\n");
}

TEST_F(VictoryBringUp, RestartUsesTheGivenTextAndTheNewHandle) {
    bringUp();
    EXPECT_TRUE(server.ShutdownVictory());
    EXPECT_FALSE(server.ShutdownVictory());
    feed(message(5040, 1));
    feed(message(8504, 1));
    EXPECT_EQ(statusCount(), 0U)
        << "nothing is told, and nothing cached, while the service is down";

    ASSERT_TRUE(server.InitializeVictory("<edited/>"));
    EXPECT_EQ(fake::snapshot().vclXml, "<edited/>");
    feed(message(8504, 1));
    EXPECT_EQ(statusCount(), 0U);
    feed(message(5040, 1));
    EXPECT_EQ(statusCount(), 1U);
    EXPECT_EQ(fake::snapshot().callsOnDeleted, 0);
}

TEST_F(VictoryBringUp, RestartsWhileFramesFlowAndCallbacksRun) {
    bringUp();
    std::jthread receiver([this](const std::stop_token& stop) {
        for (double time = 0; !stop.stop_requested(); time += 1) {
            for (const int id : {5040, 8504, 8040, 5047, 5048, 5044}) {
                feed(message(id, time));
            }
        }
    });
    std::jthread library([](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            fake::runCallback(
                [](VgpssService& service) { service.tellCallback(service.data, &service); });
        }
    });
    for (int i = 0; i < 300; ++i) {
        EXPECT_TRUE(server.ShutdownVictory());
        EXPECT_TRUE(server.InitializeVictory("<again/>"));
    }
    receiver = {};
    library = {};
    EXPECT_EQ(fake::snapshot().callsOnDeleted, 0);
    EXPECT_GT(statusCount(), 0U);
}

TEST_F(VictoryBringUp, AVclThatCannotBeSavedIsRefused) {
    bringUp();
    fake::with([](fake::Victory& victory) { victory.writeFails = true; });
    EXPECT_EQ(fake::ask([](VgpssService& at) { return at.saveVclid(at.data, &at, "<vcl/>"); }), 1);
}

TEST_F(VictoryBringUp, CallbacksWithoutTheirServerAreReported) {
    using Server = VGpsReceiverServer;
    const Captured output;
    EXPECT_EQ(Server::cbSaveVclidCallback(nullptr, nullptr, ""), 0);
    EXPECT_EQ(Server::cbSetCommandCallback(nullptr, nullptr, {}), 0);
    EXPECT_EQ(Server::cbSetMagneticVariationCallback(nullptr, nullptr, 0, 0), 1);
    EXPECT_EQ(Server::cbSetMissionDurationCallback(nullptr, nullptr, 0), 1);
    EXPECT_EQ(Server::cbSetOperatingModeCallback(nullptr, nullptr, 0), 1);
    EXPECT_EQ(Server::cbSetReceiverHotStartPortCallback(nullptr, nullptr, {}), 1);
    const auto record = std::make_unique<VgpscReceiverHotStartData>();
    EXPECT_EQ(Server::cbSetReceiverHotStartDataCallback(nullptr, nullptr, *record), 0);
    Server::cbTellReceiverHotStartDataCallback(nullptr, nullptr);
    Server::cbTellStatus2DataCallback(nullptr, nullptr);
    EXPECT_THAT(output.text(), testing::MatchesRegex(
                                   "(VGpsReceiverServer: instance pointer was not found in VICTORY "
                                   "callbackData parameter\n){9}"));
}

/** Nothing but the service has come up: the bus may ask all the same. */
TEST_F(VictoryBringUp, WithoutAReceiverSettingsAreToldAndHotStartsRefusedWithoutAWait) {
    ASSERT_TRUE(server.InitializeVictory(nullptr));
    fake::forget();
    const auto start = std::chrono::steady_clock::now();
    fake::runCallback([&](VgpssService& service) {
        EXPECT_EQ(server.setMissionDurationCallbackMethod(&service, 12), 0);
        EXPECT_EQ(server.setReceiverHotStartPortCallbackMethod(&service, {"J1COM1"}), 1);
        const auto record = std::make_unique<VgpscReceiverHotStartData>();
        EXPECT_EQ(server.setReceiverHotStartDataCallbackMethod(&service, *record), 1);
        server.tellReceiverHotstartData(&service);
    });
    EXPECT_LT(std::chrono::steady_clock::now() - start, VGpsReceiverServer::hotStartAnswerLimit);
    EXPECT_THAT(fake::snapshot().calls, ElementsAre("TellDeviceMissionDuration 12"));
}

TEST(VclEdit, FindsTheItemBelowItsDataItem) {
    tinyxml2::XMLDocument document;
    ASSERT_EQ(document.Parse(R"(<vcl:VCL><a><b type="X"><i name="other" value="9"/>
        <c><i name="updatePeriod"/></c></b></a><d type="Y"><i name="updatePeriod" value="1"/></d>
        </vcl:VCL>)"),
              tinyxml2::XML_SUCCESS);
    EXPECT_TRUE(VICTORY::updateConfigItemInVclXml(document, "X", "updatePeriod", "4294967295"));
    EXPECT_FALSE(VICTORY::updateConfigItemInVclXml(document, "Z", "updatePeriod", "2"));
    EXPECT_FALSE(VICTORY::updateConfigItemInVclXml(document, "X", "missing", "2"));
    tinyxml2::XMLPrinter printer(nullptr, true);
    document.Print(&printer);
    EXPECT_STREQ(printer.CStr(),
                 R"(<vcl:VCL><a><b type="X"><i name="other" value="9"/><c><i name="updatePeriod" )"
                 R"(value="4294967295"/></c></b></a><d type="Y"><i name="updatePeriod" value="1"/>)"
                 R"(</d></vcl:VCL>)");

    tinyxml2::XMLDocument other;
    other.Parse(R"(<VCL type="X" name="updatePeriod"/>)");
    EXPECT_FALSE(VICTORY::updateConfigItemInVclXml(other, "X", "updatePeriod", "2"));
    EXPECT_EQ(VICTORY::FindElementWithAttribute(nullptr, "type", "X"), nullptr);
}

TEST_F(VictoryBringUp, StateTransitionsAreRefusedOutOfTurn) {
    using Requested = FACE::LCM::Halcyrine::RequestedState;
    using FACE::RETURN_CODE_TYPE;
    EXPECT_EQ(transition(Requested::STOP), RETURN_CODE_TYPE::NOT_AVAILABLE);
    EXPECT_EQ(transition(Requested::START), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_EQ(transition(Requested::START), RETURN_CODE_TYPE::NOT_AVAILABLE);
    VGpsReceiverServer::ReportedState state{};
    ReturnCode rc = RETURN_CODE_TYPE::NO_ACTION;
    server.Query_State(state, rc);
    EXPECT_EQ(state, FACE::LCM::Halcyrine::ReportedState::RUNNING);
    EXPECT_EQ(transition(Requested::STOP), RETURN_CODE_TYPE::NO_ERROR);
    server.Initialize(rc);
    EXPECT_EQ(rc, RETURN_CODE_TYPE::NO_ACTION);
}

}  // namespace
