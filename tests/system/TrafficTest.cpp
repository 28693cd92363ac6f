#include "system/Unit.h"

namespace {

using testing::HasSubstr;

class Traffic : public Unit {
protected:
    void SetUp() override {
        startAndRun();
        bus();
    }
};

TEST_F(Traffic, EachKindOfReportReachesTheBus) {
    send(message(5047, 100, 7).u16(8, 12).u16(10, 1).u16(12, 180).s16(14, 30));
    send(message(5048, 100, 7));
    send(message5040(7).u16(0x54, 1).u16(0x32, 26).u16(0x30, 11).u16(0x2E, 22).u16(0x92, 500));
    send(message8504(7.25).u8(0x60, 0x03).u16(0x6E, 30).u16(0x70, 40).pdpFloat(0x54, 0.5));
    const auto status = statusAt(7.25);
    const auto health = bus().next("GPS_RECEIVER_SATELLITE_HEALTH_STATUS", bench::within(patience));
    const auto places =
        bus().next("GPS_RECEIVER_SATELLITE_HEALTH_STATUS_2", bench::within(patience));
    ASSERT_TRUE(status && health && places) << output();
    const nlohmann::json& data = (*status)["data"];
    EXPECT_EQ(data["statusWordC"], 500);
    EXPECT_EQ(data["precisionTotal"], 5.0);
    EXPECT_EQ(data["dateTime"]["year"], 2026);
    EXPECT_EQ(data["positionQuality"], 3);
    EXPECT_EQ(data["positionValid"], 1);
    EXPECT_DOUBLE_EQ(data["magneticVariation"].get<double>(), 28.64788975654116);
    EXPECT_EQ(data["dateTime"]["day"], 22);
    EXPECT_EQ(data["channels"].size(), 24U);
    EXPECT_FALSE(data.contains("reservedA"));
    EXPECT_FALSE(data["channels"][0].contains("stateClass")) << "absent, not 0";
    EXPECT_EQ((*health)["data"]["svs"][0]["svNumber"], 12);
    EXPECT_DOUBLE_EQ((*places)["data"]["svs"][0]["azimuth"].get<double>(), 3.141592653589793);
    EXPECT_FALSE((*places)["data"].contains("dateTime"));
}

TEST_F(Traffic, EachWarningReachesTheBusOnce) {
    send(message(5044, 21, 1).u16(8, 5));
    send(message(5044, 21, 1).u16(8, 80).text(10, "BATTERY LOW", 32));
    std::vector<nlohmann::json> warnings;
    for (int i = 0; i < 3; ++i) {
        const auto status = bus().next("GPS_RECEIVER_STATUS_2", bench::within(patience));
        ASSERT_TRUE(status);
        for (const auto& warning : (*status)["data"]["warnings"]) {
            warnings.push_back(warning);
        }
    }
    ASSERT_EQ(warnings.size(), 2U);
    EXPECT_EQ(warnings[0]["messageId"], 4);
    EXPECT_FALSE(warnings[0].contains("customText"));
    EXPECT_EQ(warnings[1]["messageId"], 62);
    EXPECT_EQ(warnings[1]["customText"], "BATTERY LOW");
}

TEST_F(Traffic, OnlyTheConfiguredSourceCounts) {
    receiver.setSourceServer(38);
    sendPair(1);
    receiver.setSourceServer(39);
    sendPair(2);
    const auto first = bus().next("GPS_RECEIVER_STATUS", bench::within(patience));
    ASSERT_TRUE(first);
    EXPECT_EQ((*first)["data"]["receiverTime"], 2.0);
}

/** Blocks that no receiver should send, and how many of them are reported as unreadable. */
struct HostileBlock {
    const char* name;
    std::function<bench::Bytes(bench::ReceiverPorts&)> make;
    bool reported;
};

bench::Bytes withStatedLength(bench::ReceiverPorts& ports, std::int32_t length) {
    bench::Bytes record = ports.record(bench::FrameBuilder(5040, 0x9000, 88).frame());
    // The field behind encapsulation and head.
    for (int i = 0; i < 4; ++i) {
        record[48 + static_cast<std::size_t>(i)] =
            static_cast<std::uint8_t>(static_cast<std::uint32_t>(length) >> (8 * i));
    }
    return record;
}

const HostileBlock hostileBlocks[] = {
    {"garbage", [](auto&) { return bench::Bytes(1000, 0xA5); }, true},
    {"zeros", [](auto&) { return bench::Bytes(4096, 0); }, true},
    {"negative length", [](auto& ports) { return withStatedLength(ports, -1); }, true},
    {"least length", [](auto& ports) { return withStatedLength(ports, INT32_MIN); }, true},
    {"length that overflows", [](auto& ports) { return withStatedLength(ports, INT32_MAX - 10); },
     true},
    {"length beyond the rest", [](auto& ports) { return withStatedLength(ports, 189); }, true},
    {"length short of the data", [](auto& ports) { return withStatedLength(ports, 100); }, true},
    {"end inside a record",
     [](auto& ports) {
         bench::Bytes record = ports.record(bench::FrameBuilder(8504, 0x9000, 200).frame());
         record.erase(record.end() - 7, record.end());
         return record;
     },
     true},
    {"frames too short for an id",
     [](auto& ports) {
         bench::Bytes block;
         for (std::size_t n = 0; n < 4; ++n) {
             const bench::Bytes record = ports.record(bench::Bytes(n, 0xFF));
             block.insert(block.end(), record.begin(), record.end());
         }
         return block;
     },
     false},
};

TEST_F(Traffic, SurvivesHostileBlocksAndReportsEachOnce) {
    double time = 1000;
    std::ptrdiff_t expected = 0;
    for (const HostileBlock& block : hostileBlocks) {
        ASSERT_TRUE(receiver.sendRaw(Channel::TyrHc, block.make(receiver))) << block.name;
        expected += block.reported ? 1 : 0;
        ASSERT_TRUE(eventually([&] { return linesWith("MCSQ remainder") >= expected; }))
            << block.name << "\n"
            << output();
        sendPair(++time);
        ASSERT_TRUE(statusAt(time)) << block.name;
        EXPECT_EQ(linesWith("VGpsReceiverServer: Process_Notification_Event(): A memory exception "
                            "occurred on deserialize. Max Length: 131072 MCSQ remainder: "),
                  expected)
            << block.name;
    }
}

class Flood : public Unit {};

TEST_F(Flood, LosesNoPair) {
    environment["LD_LIBRARY_PATH"] = COUNTING_LIBRARY_DIRECTORY;
    startAndRun();
    constexpr int pairs = 50000;
    for (int i = 1; i <= pairs; ++i) {
        sendPair(i);
    }
    EXPECT_TRUE(server->waitForLine("told " + std::to_string(pairs), bench::within(patience)))
        << output();
    EXPECT_EQ(linesWith("memory exception"), 0);
}

class Talkative : public Unit {};

TEST_F(Talkative, PrintsFramesOfEverySourceAndDecisionsInWholeLines) {
    root.setParameter(bench::serverFile, "VGpsReceiverServer", "PARAM_1", "false");
    root.setParameter(bench::serverFile, "VGpsReceiverServer", "PARAM_3", "0");
    startAndRun();
    bus();
    receiver.setSourceServer(200);
    sendPair(9);
    ASSERT_TRUE(statusAt(9));
    ASSERT_TRUE(server->waitForLine("deltaTov: 0", bench::within(patience)));
    EXPECT_THAT(output(), HasSubstr("VGpsReceiverServer: cbGssipHeader:  81FF 13B0 0058 9000 "));
    EXPECT_THAT(output(),
                HasSubstr("VGpsReceiverServer: cbGssip: Victory GpsReceiverStatus Messages "
                          "received: \nVGpsReceiverServer: cbGssip: 5040 - 8504            "
                          "deltaTov: 0\n"));
    EXPECT_THAT(output(), HasSubstr("VGpsReceiverServer: encodeVictoryGpsReceiverStatus: "
                                    "Processing data and sending a Victory update.\n\n"));
    EXPECT_THAT(output(), HasSubstr("VGpsReceiverServer: magvar = LOCAL 0\n"));
}

}  // namespace
