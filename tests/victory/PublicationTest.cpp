// What is told comes out on the bus: fields, periods, snapshots, faults.
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

#include "victory/Rig.h"

namespace victory_test {
namespace {

class Publication : public Rig {};

// --- Fields: by their offsets in the record, so that a mixed-up field shows -------------------

struct FieldAt {
    const char* name;
    char type;  // u, i or d
    std::size_t offset;
    std::size_t presentOffset = 0;  // 0 for always present
};

constexpr FieldAt kStatusFields[] = {{"receiverTime", 'd', 0x000},
                                     {"positionQuality", 'u', 0x008},
                                     {"timeQuality", 'u', 0x00C},
                                     {"timeStatus", 'u', 0x010, 0x014},
                                     {"operatingMode", 'u', 0x018, 0x01C},
                                     {"channelCount", 'u', 0x7A8},
                                     {"statusWordA", 'u', 0x7AC, 0x7B0},
                                     {"statusWordB", 'u', 0x7B4, 0x7B8},
                                     {"statusWordC", 'i', 0x7BC, 0x7C0},
                                     {"statusValueD", 'd', 0x7C8, 0x7D0},
                                     {"statusWordE", 'u', 0x7D4, 0x7D8},
                                     {"statusWordF", 'u', 0x7DC, 0x7E0},
                                     {"northReference", 'u', 0x7E4, 0x7E8},
                                     {"northReferenceCorrection", 'd', 0x7F0, 0x7F8},
                                     {"statusBitsG", 'u', 0x7FC, 0x800},
                                     {"datumCode", 'u', 0x804, 0x808},
                                     {"magneticVariation", 'd', 0x810, 0x818},
                                     {"magneticVariationSource", 'u', 0x81C, 0x820},
                                     {"positionValid", 'u', 0x824, 0x828},
                                     {"modeFlagA", 'u', 0x82C, 0x830},
                                     {"modeFlagB", 'u', 0x834, 0x838},
                                     {"modeFlagC", 'u', 0x83C, 0x840},
                                     {"noChannelInState2", 'u', 0x844, 0x848},
                                     {"noChannelInState2Or3", 'u', 0x84C, 0x850},
                                     {"precisionTotal", 'd', 0x858, 0x860},
                                     {"precisionA", 'd', 0x868, 0x870},
                                     {"precisionB", 'd', 0x878, 0x880},
                                     {"precisionC", 'd', 0x888, 0x890},
                                     {"positionError", 'd', 0x8A0, 0x8A8},
                                     {"errorValueA", 'd', 0x8B0},
                                     {"errorValueB", 'd', 0x8B8},
                                     {"errorValueC", 'd', 0x8C0, 0x8C8},
                                     {"errorValueD", 'd', 0x8D0, 0x8D8}};
constexpr FieldAt kChannelFields[] = {{"svNumber", 'u', 0},        {"stateClass", 'u', 4, 8},
                                      {"activity", 'u', 12, 16},   {"doubledTerm", 'd', 24, 32},
                                      {"plainTerm", 'd', 40},      {"channelByte", 'u', 48},
                                      {"stateCode", 'u', 52},      {"inUse", 'u', 56, 60},
                                      {"groupClass", 'u', 64, 68}, {"modeNibble", 'u', 72}};
constexpr FieldAt kStatus2Fields[] = {{"receiverTime", 'd', 0x00},
                                      {"missionDuration", 'u', 0x08, 0x0C},
                                      {"status2Value", 'u', 0x30, 0x34},
                                      {"status2Code", 'u', 0x38, 0x3C},
                                      {"warningCount", 'u', 0x33D0}};
constexpr FieldAt kHealthFields[] = {{"recordKind", 'u', 32}, {"svCount", 'u', 132}};
constexpr FieldAt kSvFields[] = {{"svNumber", 'u', 0}, {"health", 'u', 4}};
constexpr FieldAt kHealth2Fields[] = {{"svCount", 'u', 416}};
constexpr FieldAt kSv2Fields[] = {
    {"svNumber", 'u', 0}, {"azimuth", 'd', 8}, {"elevation", 'd', 16}, {"slotFlag", 'u', 24}};
constexpr FieldAt kDateFields[] = {
    {"year", 'u', 0},     {"month", 'u', 4},    {"day", 'u', 8},         {"hours", 'u', 16},
    {"minutes", 'u', 20}, {"seconds", 'u', 24}, {"nanoseconds", 'u', 28}};

template <class T>
void put(void* record, std::size_t offset, T value) {
    std::memcpy(static_cast<char*>(record) + offset, &value, sizeof value);
}

/** Writes a number of its own into each field from `first` on; returns what the bus should show. */
template <std::size_t N>
json fill(void* record, const FieldAt (&fields)[N], int first, bool present) {
    json expected = json::object();
    for (const FieldAt& field : fields) {
        const int value = first++;
        if (field.type == 'd') {
            put(record, field.offset, value + 0.25);
        } else {
            put(record, field.offset, field.type == 'i' ? -value : value);
        }
        if (field.presentOffset != 0) {
            put<std::uint32_t>(record, field.presentOffset, present ? 1 : 0);
        }
        if (present || field.presentOffset == 0) {
            expected[field.name] =
                field.type == 'd' ? json(value + 0.25) : json(field.type == 'i' ? -value : value);
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
    VgpscReceiverPorts ports{};
    ports.count = 51;
    vgpssTellDeviceReceiverPorts(service, ports);
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

TEST_F(Publication, WithoutAPeriodEachRecordIsPublishedInOrder) {
    makeAndStart(
        "<vcl:VCL><A type=\"GPS_RECEIVER_STATUS\"><B name=\"updatePeriod\"/></A></vcl:VCL>");
    Client client = connectAndGreet();
    for (int i = 1; i <= 50; ++i) {
        vgpssTellStatusData(service, 0, statusAt(i), nullptr);
    }
    for (int i = 1; i <= 50; ++i) {
        const json report = client.report(kStatus);
        ASSERT_EQ(report["data"]["receiverTime"], i);
        ASSERT_EQ(report["sequence"], i);
        ASSERT_FALSE(report.contains("dropped"));
    }
}

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

TEST_F(Publication, TheLongestPeriodEndsTheReports) {
    makeAndStart(vcl({kNever, "0", kNever, kNever}));
    Client client = connectAndGreet();
    vgpssTellStatusData(service, 0, {}, nullptr);
    vgpssTellHealthStatusData(service, 0, {}, nullptr);
    vgpssTellHealthStatus2Data(service, 0, {}, nullptr);
    vgpssTellStatus2Data(service, {}, nullptr);
    EXPECT_EQ(client.next()["report"], kStatus2);
}

TEST_F(Publication, WarningsOfReplacedRecordsGoOutWithTheNext) {
    makeAndStart(vcl({"0", "400", "0", "0"}));
    Client client = connectAndGreet();
    vgpssTellStatus2Data(service, status2With(1, 1), nullptr);
    vgpssTellStatus2Data(service, status2With(2, 2), nullptr);
    vgpssTellStatus2Data(service, status2With(0, 0), nullptr);
    vgpssTellStatus2Data(service, status2With(4, 48), nullptr);
    std::vector<int> got;
    while (got.empty() || got.back() != 51) {  // two reports, should the machine stall
        const json data = client.data(kStatus2);
        ASSERT_FALSE(data.is_null());
        const std::vector<int> ids = warningIds(data);
        EXPECT_EQ(data["warningCount"], ids.size());
        got.insert(got.end(), ids.begin(), ids.end());
    }
    std::vector<int> wanted(50);
    std::iota(wanted.begin(), wanted.end(), 2);  // of 51 the oldest is gone
    if (got.size() == 51) {
        wanted.insert(wanted.begin(), 1);
    }
    EXPECT_EQ(got, wanted);
}

TEST_F(Publication, RecordsThatFindNoRoomAreCountedAndTheirWarningsKept) {
    make();
    for (int i = 1; i <= 100; ++i) {  // nothing takes them before the start
        vgpssTellStatusData(service, 0, statusAt(i), nullptr);
        vgpssTellStatus2Data(service, status2With(i, i <= 40 ? 1 : 0), nullptr);
    }
    Client client = connect();
    ASSERT_EQ(vgpssStartService(service), 0);
    for (int i = 37; i <= 100; ++i) {
        const json report = client.report(kStatus);
        ASSERT_EQ(report["data"]["receiverTime"], i);
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
    Client first = connect();
    EXPECT_EQ(first.next(), json::parse(R"({"hello":{"service":"Test","maker":"Maker",
        "model":"Model","equipmentId":"Id","requests":["command"]}})"));
    EXPECT_EQ(first.next(),
              json::parse(R"({"report":"GPS_RECEIVER_DEVICE","sequence":0,"data":{}})"));
    EXPECT_EQ(first.next(),
              json::parse(R"({"report":"GPS_RECEIVER_FAULTS","sequence":0,"data":{"faults":[]}})"));

    json known = json::object();
    const auto expectChange = [&](const char* key, const json& value) {
        EXPECT_EQ(first.data(kDevice), (json{{key, value}}));
        known[key] = value;
    };
    vgpssTellDeviceDatumCode(service, 206, 0);
    expectChange("datumCode", 206);
    vgpssTellDeviceMaximumUserDefinedDatums(service, 2);
    expectChange("maximumUserDefinedDatums", 2);
    vgpssTellDeviceMissionDuration(service, 84);
    expectChange("missionDuration", 84);
    vgpssTellDeviceOperatingMode(service, 3);
    expectChange("operatingMode", 3);
    vgpssTellDeviceMagneticVariation(service, 1, 12.5);
    expectChange("magneticVariation", {{"source", 1}, {"degrees", 12.5}});
    VgpscReceiverPorts ports{{"J1COM1", "J1COM2"}, 2};
    vgpssTellDeviceReceiverPorts(service, ports);
    expectChange("receiverPorts", {"J1COM1", "J1COM2"});
    vgpssTellDeviceReceiverHotStartPort(service, {"J4COM3"});
    expectChange("hotStartPort", "J4COM3");
    const auto hotStart = std::make_unique<VgpscReceiverHotStartData>();
    hotStart->hotStartMode = 3;
    hotStart->messageCount = 1;
    hotStart->messages[0] = {7, 1, {0xFF, 0x81, 0x07}, 3};
    vgpssTellDeviceReceiverHotStartData(service, *hotStart);
    expectChange(
        "hotStartData",
        {{"hotStartMode", 3},
         {"messages", {{{"messageId", 7}, {"sequence", 1}, {"length", 3}, {"bytes", "ff8107"}}}}});

    Client second = connect();
    const json snapshot = second.report(kDevice);
    EXPECT_EQ(snapshot["data"], known);
    EXPECT_EQ(snapshot["sequence"], 8);

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

TEST_F(Publication, ServicesOfOtherKindsRaiseNoFaults) {
    int memory = 0;
    const auto handle = [&memory](auto* typed) {
        return reinterpret_cast<decltype(typed)>(&memory);
    };
    EXPECT_EQ(vapntsAddFault(handle((VapntsService*)nullptr), "x", 0, 0, 0, 0), 0U);
    EXPECT_EQ(vpossAddFault(handle((VpossService*)nullptr), "x", 0, 0, 0, 0), 0U);
    EXPECT_EQ(vorisAddFault(handle((VorisService*)nullptr), "x", 0, 0, 0, 0), 0U);
    EXPECT_EQ(vdotsAddFault(handle((VdotsService*)nullptr), "x", 0, 0, 0, 0), 0U);
    EXPECT_EQ(vgensAddFault(handle((VgensService*)nullptr), "x", 0, 0, 0, 0), 0U);
    vapntsRemoveFault(nullptr, 1);
    vpossRemoveFault(nullptr, 1);
    vorisRemoveFault(nullptr, 1);
    vdotsRemoveFault(nullptr, 1);
    vgensRemoveFault(nullptr, 1);
}

}  // namespace
}  // namespace victory_test
