// What is told comes out on the bus: fields, periods, snapshots, faults.
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <sstream>

#include "victory/Rig.h"

namespace victory_test {
namespace {

class Publication : public Rig {};

// --- Fields: by their offsets in the record, so that a mixed-up field shows -------------------

/** Fields as type, name and offset [hex]: u, i or d for what is always there; U, I or D for what
 *  has its present word behind it. */
constexpr const char* kStatusFields =
    R"(d receiverTime 0  u positionQuality 8  u timeQuality C  U timeStatus 10  U operatingMode 18
    u channelCount 7A8  U statusWordA 7AC  U statusWordB 7B4  I statusWordC 7BC
    D statusValueD 7C8  U statusWordE 7D4  U statusWordF 7DC  U northReference 7E4
    D northReferenceCorrection 7F0  U statusBitsG 7FC  U datumCode 804  D magneticVariation 810
    U magneticVariationSource 81C  U positionValid 824  U modeFlagA 82C  U modeFlagB 834
    U modeFlagC 83C  U noChannelInState2 844  U noChannelInState2Or3 84C  D precisionTotal 858
    D precisionA 868  D precisionB 878  D precisionC 888  D positionError 8A0  d errorValueA 8B0
    d errorValueB 8B8  D errorValueC 8C0  D errorValueD 8D0)";
constexpr const char* kChannelFields =
    R"(u svNumber 0  U stateClass 4  U activity C  D doubledTerm 18  d plainTerm 28
    u channelByte 30  u stateCode 34  U inUse 38  U groupClass 40  u modeNibble 48)";
constexpr const char* kStatus2Fields =
    R"(d receiverTime 0  U missionDuration 8  U status2Value 30  U status2Code 38
    u warningCount 33D0)";
constexpr const char* kHealthFields = "u recordKind 20  u svCount 84";
constexpr const char* kSvFields = "u svNumber 0  u health 4";
constexpr const char* kHealth2Fields = "u svCount 1A0";
constexpr const char* kSv2Fields = "u svNumber 0  d azimuth 8  d elevation 10  u slotFlag 18";
constexpr const char* kDateFields =
    "u year 0  u month 4  u day 8  u hours 10  u minutes 14  u seconds 18  u nanoseconds 1C";

template <class T>
void put(void* record, std::size_t offset, T value) {
    std::memcpy(static_cast<char*>(record) + offset, &value, sizeof value);
}

/** Writes a number of its own into each field from `first` on; returns what the bus should show. */
json fill(void* record, const char* fields, int first, bool present) {
    json expected = json::object();
    std::istringstream words(fields);
    std::string name;
    char type = 0;
    for (std::size_t offset = 0; words >> type >> name >> std::hex >> offset; ++first) {
        const bool optional = std::isupper(type) != 0;
        json value = type == 'i' || type == 'I' ? -first : first;
        if (type == 'd' || type == 'D') {
            value = first + 0.25;
            put(record, offset, first + 0.25);
        } else {
            put(record, offset, value.get<int>());
        }
        if (optional) {
            put(record, offset + (value.is_number_float() ? 8 : 4), present ? 1 : 0);
        }
        if (present || !optional) {
            expected[name] = value;
        }
    }
    return expected;
}

TEST_F(Publication, EveryFieldComesOutUnderItsNameAndAbsentOnesStayAway) {
    makeAndStart();
    Client client = connectAndGreet();
    for (const bool present : {true, false}) {
        VgpscDateTime date{};
        json expected;

        VgpscReceiverStatusData status{};
        status.reservedAPresent = status.reservedBPresent = 1;
        const json dateJson = fill(&date, kDateFields, 2000, true);
        expected = fill(&status, kStatusFields, 100, present);
        for (int i = 0; i < 3; ++i) {
            expected["channels"].push_back(
                fill(&status.channels[i], kChannelFields, 300 + 20 * i, present));
        }
        expected["dateTime"] = dateJson;
        vgpssTellStatusData(service, 3, status, &date);
        EXPECT_EQ(client.data(kStatus), expected);

        VgpscReceiverStatus2Data status2{};
        status2.reservedAPresent = 1;
        expected = fill(&status2, kStatus2Fields, 100, present);
        status2.warningCount = 2;
        status2.warnings[0].messageId = 2;
        std::strcpy(status2.warnings[0].customText, "not in use");
        status2.warnings[1].messageId = 62;
        std::strcpy(status2.warnings[1].customText, "custom");
        status2.warnings[1].hasCustomText = 1;
        expected["warningCount"] = 2;
        expected["warnings"] = {{{"messageId", 2}}, {{"messageId", 62}, {"customText", "custom"}}};
        vgpssTellStatus2Data(service, status2, nullptr);
        EXPECT_EQ(client.data(kStatus2), expected);

        VgpscHealthStatusData health{};
        expected = fill(&health, kHealthFields, 100, present);
        expected["svs"] = {fill(&health.svs[0], kSvFields, 300, present)};
        vgpssTellHealthStatusData(service, 1, health, nullptr);
        EXPECT_EQ(client.data(kHealth), expected);

        VgpscHealthStatus2Data health2{};
        expected = fill(&health2, kHealth2Fields, 100, present);
        expected["svs"] = {fill(&health2.svs[0], kSv2Fields, 300, present)};
        expected["dateTime"] = dateJson;
        vgpssTellHealthStatus2Data(service, 1, health2, &date);
        EXPECT_EQ(client.data(kHealth2), expected);
    }
}

TEST_F(Publication, CountsBeyondARecordAreCutToIt) {
    makeAndStart();
    Client client = connectAndGreet();
    vgpssTellStatusData(service, 4000000000U, {}, nullptr);
    EXPECT_EQ(client.data(kStatus)["channels"].size(), 24U);
    VgpscReceiverStatus2Data status2{};
    status2.warningCount = 51;
    vgpssTellStatus2Data(service, status2, nullptr);
    EXPECT_EQ(client.data(kStatus2)["warnings"].size(), 50U);
    vgpssTellHealthStatusData(service, 13, {}, nullptr);
    EXPECT_EQ(client.data(kHealth)["svs"].size(), 12U);
    vgpssTellHealthStatus2Data(service, 13, {}, nullptr);
    EXPECT_EQ(client.data(kHealth2)["svs"].size(), 12U);
    vgpssTellDeviceReceiverPorts(service, {{}, 51});
    EXPECT_EQ(client.data(kDevice)["receiverPorts"].size(), 50U);
    const auto hotStart = std::make_unique<VgpscReceiverHotStartData>();
    hotStart->messageCount = 301;
    hotStart->messages[0].length = 2033;
    vgpssTellDeviceReceiverHotStartData(service, *hotStart);
    const json messages = client.data(kDevice)["hotStartData"]["messages"];
    ASSERT_EQ(messages.size(), 300U);
    EXPECT_EQ(messages[0]["bytes"].get<std::string>().size(), 2U * 2032U);
}

TEST_F(Publication, NumbersThatAreNoneAndBytesThatAreNoTextKeepTheLinesReadable) {
    makeAndStart();
    Client client = connectAndGreet();
    VgpscReceiverStatusData status = statusAt(std::nan(""));
    status.errorValueA = std::numeric_limits<double>::infinity();
    vgpssTellStatusData(service, 0, status, nullptr);
    json data = client.data(kStatus);
    EXPECT_TRUE(data["receiverTime"].is_null());
    EXPECT_TRUE(data["errorValueA"].is_null());

    VgpscReceiverStatus2Data status2 = status2With(62, 1);
    status2.warnings[0].hasCustomText = 1;
    std::memset(status2.warnings[0].customText, 0xFF, VGPSC_CUSTOM_TEXT_BYTES);  // no NUL either
    vgpssTellStatus2Data(service, status2, nullptr);
    EXPECT_EQ(client.data(kStatus2)["warnings"][0]["customText"].get<std::string>().size(),
              3U * VGPSC_CUSTOM_TEXT_BYTES);
    vgpssAddFault(service, "\xC3 \n \"", 0, 0, 0, 0);
    EXPECT_EQ(client.data(kFaults)["faults"][0]["text"], "\xEF\xBF\xBD \n \"");
    vgpssTellDeviceMagneticVariation(service, 0, std::nan(""));
    EXPECT_TRUE(client.data(kDevice)["magneticVariation"]["degrees"].is_null());
}

// --- Periods -----------------------------------------------------------------------------------

TEST_F(Publication, WithinAPeriodTheNewestRecordWinsAndGoesOutWhenDue) {
    constexpr milliseconds kPeriod{250};
    make(vcl({"250", "0", kNever, kNever}));
    const Clock::time_point before = Clock::now();
    ASSERT_EQ(vgpssStartService(service), 0);
    Client client = connectAndGreet();
    Clock::time_point notBefore = before + kPeriod;
    for (int round = 1; round <= 3; ++round) {
        vgpssTellStatusData(service, 0, statusAt(round), nullptr);
        vgpssTellStatusData(service, 0, statusAt(round + 0.5), nullptr);
        const json report = client.report(kStatus);
        const Clock::time_point now = Clock::now();
        // On a machine that stalls in between, both may go out, a period apart.
        if (report["data"]["receiverTime"] == round) {
            EXPECT_EQ(client.data(kStatus)["receiverTime"], round + 0.5);
        } else {
            EXPECT_EQ(report["data"]["receiverTime"], round + 0.5);
        }
        EXPECT_GE(now, notBefore);
        EXPECT_FALSE(report.contains("dropped"));
        notBefore += kPeriod;
    }
}

TEST_F(Publication, WarningsOfReplacedRecordsGoOutWithTheNext) {
    make(vcl({"0", "1", "0", "0"}));
    for (const auto& [first, count] : {std::pair{1, 1U}, {2, 2U}, {0, 0U}, {4, 48U}}) {
        vgpssTellStatus2Data(service, status2With(first, count), nullptr);
    }
    Client client = connect();
    ASSERT_EQ(vgpssStartService(service), 0);  // what was told before waits for it
    const json data = client.data(kStatus2);
    std::vector<int> wanted(50);
    std::iota(wanted.begin(), wanted.end(), 2);  // of 51 the oldest is gone
    EXPECT_EQ(warningIds(data), wanted);
    EXPECT_EQ(data["warningCount"], 50);
}

TEST_F(Publication, RecordsThatFindNoRoomAreCountedAndTheirWarningsKept) {
    // Without a period: each record is published, in order.
    make("<vcl:VCL><A type=\"GPS_RECEIVER_STATUS\"><B name=\"updatePeriod\"/></A></vcl:VCL>");
    for (int i = 1; i <= 100; ++i) {  // nothing takes them before the start
        vgpssTellStatusData(service, 0, statusAt(i), nullptr);
        vgpssTellStatus2Data(service, status2With(i, i <= 40 ? 1 : 0), nullptr);
    }
    Client client = connect();
    ASSERT_EQ(vgpssStartService(service), 0);
    for (int i = 37; i <= 100; ++i) {
        const json report = client.report(kStatus);
        ASSERT_EQ(report["data"]["receiverTime"], i);
        ASSERT_EQ(report["sequence"], i - 36);
        ASSERT_EQ(report["dropped"], 36);
    }
    std::vector<int> handedOn(37);
    std::iota(handedOn.begin(), handedOn.end(), 1);
    EXPECT_EQ(warningIds(client.data(kStatus2)), handedOn);
    EXPECT_EQ(warningIds(client.data(kStatus2)), std::vector<int>{38});
}

// --- Device data and faults ---------------------------------------------------------------------

TEST_F(Publication, AClientGetsGreetingAndSnapshotThenChangesOnly) {
    make();
    vgpssInitSetCommandCallback(
        service, [](void*, VgpssService*, VgpsCommandData) { return 0; }, nullptr);
    ASSERT_EQ(vgpssStartService(service), 0);
    vgpssInitSetMissionDurationCallback(  // too late
        service, [](void*, VgpssService*, unsigned) { return 0; }, nullptr);
    Client first = connect();
    EXPECT_EQ(first.next(), json::parse(R"({"hello":{"service":"Test","maker":"Maker",
        "model":"Model","equipmentId":"Id","requests":["command"]}})"));
    EXPECT_EQ(first.next(),
              json::parse(R"({"report":"GPS_RECEIVER_DEVICE","sequence":0,"data":{}})"));
    EXPECT_EQ(first.next(),
              json::parse(R"({"report":"GPS_RECEIVER_FAULTS","sequence":0,"data":{"faults":[]}})"));

    vgpssTellDeviceDatumCode(service, 206, 0);
    EXPECT_EQ(first.data(kDevice), (json{{"datumCode", 206}}));
    vgpssTellDeviceMaximumUserDefinedDatums(service, 2);
    vgpssTellDeviceMissionDuration(service, 84);
    vgpssTellDeviceOperatingMode(service, 3);
    vgpssTellDeviceMagneticVariation(service, 1, 12.5);
    vgpssTellDeviceReceiverPorts(service, {{"J1COM1", "J1COM2"}, 2});
    vgpssTellDeviceReceiverHotStartPort(service, {"J4COM3"});
    const auto hotStart = std::make_unique<VgpscReceiverHotStartData>();
    hotStart->hotStartMode = 3;
    hotStart->messageCount = 1;
    hotStart->messages[0] = {7, 1, {0xFF, 0x81, 0x07}, 3};
    vgpssTellDeviceReceiverHotStartData(service, *hotStart);
    json known = json::parse(R"({"datumCode":206,"maximumUserDefinedDatums":2,"missionDuration":84,
        "operatingMode":3,"magneticVariation":{"source":1,"degrees":12.5},
        "receiverPorts":["J1COM1","J1COM2"],"hotStartPort":"J4COM3",
        "hotStartData":{"hotStartMode":3,
            "messages":[{"messageId":7,"sequence":1,"length":3,"bytes":"ff8107"}]}})");
    json changes = {{"datumCode", 206}};
    json report;
    while (changes.size() < known.size()) {
        report = first.report(kDevice);
        ASSERT_FALSE(report.is_null());
        EXPECT_FALSE(report["data"].contains("datumCode")) << "did not change again";
        changes.update(report["data"]);
    }
    EXPECT_EQ(changes, known);

    Client second = connect();
    const json snapshot = second.report(kDevice);
    EXPECT_EQ(snapshot["data"], known);
    EXPECT_EQ(snapshot["sequence"], report["sequence"]);

    vgpssTellDeviceMagneticVariation(service, 1, 12.5);  // no change, no report
    vgpssTellDeviceOperatingMode(service, -1);
    EXPECT_EQ(first.data(kDevice), (json{{"operatingMode", nullptr}}));
    known.erase("operatingMode");
    Client third = connect();
    EXPECT_EQ(third.data(kDevice), known);
}

TEST_F(Publication, FaultsComeAndGo) {
    makeAndStart();
    Client client = connectAndGreet();
    const unsigned first = vgpssAddFault(service, "antenna", 1, 2, 3, 4);
    EXPECT_NE(first, 0U);
    const json antenna = {{"id", first},   {"text", "antenna"}, {"acknowledged", true},
                          {"severity", 2}, {"category", 3},     {"action", 4}};
    EXPECT_EQ(client.data(kFaults)["faults"], json::array({antenna}));
    const unsigned second = vgpssAddFault(service, nullptr, 0, 0, 0, 0);
    EXPECT_NE(second, 0U);
    EXPECT_NE(second, first);
    EXPECT_EQ(client.data(kFaults)["faults"].size(), 2U);
    Client late = connect();
    EXPECT_EQ(late.data(kFaults)["faults"].size(), 2U);
    vgpssRemoveFault(service, 4711);  // none of ours: no report
    vgpssRemoveFault(service, second);
    EXPECT_EQ(client.data(kFaults)["faults"], json::array({antenna}));
    for (int i = 1; i < 256; ++i) {
        EXPECT_NE(vgpssAddFault(service, "more", 0, 0, 0, 0), 0U);
    }
    EXPECT_EQ(vgpssAddFault(service, "one too many", 0, 0, 0, 0), 0U);
}

}  // namespace
}  // namespace victory_test
