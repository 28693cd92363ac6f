// What a person sees: reports in words, and vgpsctl as a process.
#include <set>

#include "support/RunProgram.h"
#include "victory/Owner.h"
#include "victory/tools/ReportText.h"

namespace victory_test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Strings = std::vector<std::string>;

TEST(ReportText, SaysWhatALineMeans) {
    const struct {
        const char* line;
        const char* text;
    } cases[] = {
        {R"({"hello":{"service":"GPS","maker":"A","model":"B","equipmentId":"C",
             "requests":["command","saveVcl"]}})",
         "connected to GPS (A, B, C), which offers command, saveVcl"},
        {R"({"report":"GPS_RECEIVER_STATUS","sequence":1,"data":{"receiverTime":12.34,
             "positionQuality":3,"timeQuality":2,"positionValid":1,"magneticVariation":354.2704,
             "magneticVariationSource":1,"positionError":12.25,
             "dateTime":{"year":2024,"month":3,"day":5,"hours":7,"minutes":8,"seconds":9},
             "channels":[{"svNumber":5,"inUse":1},{"svNumber":6,"inUse":0},{"svNumber":7},
                         {"svNumber":0}]}})",
         "status: 2024-03-05 07:08:09, fix valid, position quality 3, time quality 2, 1 of 3 "
         "satellites in view used, magnetic variation 354.27 deg calculated, position error 12.2 "
         "m"},
        {R"({"report":"GPS_RECEIVER_STATUS","data":{"receiverTime":12.34,"positionValid":0}})",
         "status: receiver time 12.3 s, fix invalid, 0 of 0 satellites in view used"},
        {R"({"report":"GPS_RECEIVER_STATUS_2","data":{"missionDuration":84,"status2Code":1,
             "status2Value":7,"warnings":[{"messageId":2},{"messageId":62,"customText":"no"}]}})",
         "status 2: mission duration 84, state code 1, value 7, WARNING 2, WARNING 62 \"no\""},
        {R"({"report":"GPS_RECEIVER_STATUS_2","data":{"warnings":[]}})", "status 2: no warnings"},
        {R"({"report":"GPS_RECEIVER_SATELLITE_HEALTH_STATUS","data":{"svs":[
             {"svNumber":5,"health":0},{"svNumber":6,"health":2}]}})",
         "health: time unknown, 1 of 2 satellites healthy, satellite 6 unhealthy"},
        {R"({"report":"GPS_RECEIVER_SATELLITE_HEALTH_STATUS_2","data":{"svs":[
             {"svNumber":5,"azimuth":3.14159265,"elevation":-0.0872664626}]}})",
         "health 2: time unknown, satellites at azimuth/elevation: 5 at 180/-5"},
        {R"({"report":"GPS_RECEIVER_DEVICE","data":{}})", "device: nothing known"},
        {R"({"report":"GPS_RECEIVER_DEVICE","data":{"datumCode":206,"operatingMode":null,
             "magneticVariation":{"source":0,"degrees":null},"receiverPorts":["a","b"],
             "hotStartPort":"J1COM1","hotStartData":{"hotStartMode":3,"messages":[{}]}}})",
         "device: datum 206, magnetic variation unknown deg local, 2 ports, hot start port J1COM1, "
         "hot start data of 1 messages, mode 3"},
        {R"({"report":"GPS_RECEIVER_FAULTS","data":{"faults":[]}})", "faults: none"},
        {R"({"report":"GPS_RECEIVER_FAULTS","data":{"faults":[{"id":4,"text":"antenna"}]}})",
         "faults: FAULT 4 \"antenna\""},
        {R"({"reply":3,"result":0})", "reply to 3: carried out"},
        {R"({"reply":3,"result":1})", "reply to 3: refused"},
        {R"({"reply":null,"error":"not offered"})", "reply to null: not offered"},
        {R"({"error":"too many clients"})", "error: too many clients"},
        {R"({"error":"\u001b[2J\r\nover\u007f"})", "error: ?[2J??over?"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(victory::describe(json::parse(c.line)), c.text);
    }
}

TEST(ReportText, TakesWhateverComes) {
    for (const char* line : {"[]", "7", "null", R"({"report":"OTHER","data":{}})", "{}"}) {
        EXPECT_EQ(victory::describe(json::parse(line)), std::nullopt) << line;
    }
    for (const char* name : {kStatus, kStatus2, kHealth, kHealth2, kDevice, kFaults}) {
        for (const char* data :
             {"null", "7", "[7]", R"({"svs":7,"channels":{"a":1},"warnings":[7],"faults":"x"})",
              R"({"svs":[7,[]],"channels":[7,{"svNumber":"x"}],"warnings":{"a":7},"faults":[7],
                  "dateTime":{"year":"x"},"magneticVariation":"x","hotStartData":{},
                  "receiverPorts":7})"}) {
            const json line = {{"report", name}, {"data", json::parse(data)}};
            EXPECT_NE(victory::describe(line), std::nullopt) << line;
        }
    }
}

// --- vgpsctl ------------------------------------------------------------------------------------

class Vgpsctl : public OwnedRig {};

TEST_F(Vgpsctl, SendsARequestAndEndsWithItsOutcome) {
    const std::set<std::string> good{"command 0:1", "variation 0 -12.5", "port J1COM1",
                                     "data 3 7,1,[255,129]", "vcl <vcl:VCL/>\n"};
    owner.during = [&] { owner.result = good.contains(owner.last()) ? 0 : 1; };
    make();
    owner.offerAll(service);
    vgpssInitSetMissionDurationCallback(service, nullptr, nullptr);  // as outside the test mode
    vgpssInitSetOperatingModeCallback(service, nullptr, nullptr);
    ASSERT_EQ(vgpssStartService(service), 0);
    const std::string vclFile = write("good.xml", "<vcl:VCL/>\n");
    const std::string badVcl = write("bad.xml", "<other/>");
    const std::string data = write("data.json",
                                   R"({"hotStartMode":3,"messages":[{"messageId":7,"sequence":1,
                                       "length":2,"bytes":"ff81"}]})");
    ::testing::internal::CaptureStderr();
    const struct {
        Strings arguments;
        int status;
        const char* said;
    } cases[] = {
        {{"zeroize"}, 0, "carried out"},
        {{"zeroize", "--type", "2"}, 1, "refused"},
        {{"command", "-7", "1"}, 1, "refused"},
        {{"magvar", "local", "-12.5"}, 0, "carried out"},
        {{"hot-start", "port", "J1COM1"}, 0, "carried out"},
        {{"hot-start", "port", "j1com1"}, 1, "refused"},
        {{"hot-start", "data", data}, 0, "carried out"},
        {{"hot-start", "data", vclFile}, 2, "isn't a JSON object"},
        {{"save-vcl", vclFile}, 0, "carried out"},
        {{"save-vcl", badVcl}, 2, "needed is vcl:VCL"},
        {{"save-vcl", root() + "/none"}, 2, "can't be read"},
        {{"mode", "1"}, 2, "not offered"},
        {{"mission-duration", "84"}, 2, "test mode"},
        {{"--endpoint", endpoint(), "zeroize"}, 0, "carried out"},
        {{"--endpoint", root() + "/none", "zeroize"}, 2, "start the service"},
        {{}, 2, "subcommand"},
        {{"--help"}, 0, "hot-start"},
    };
    for (const auto& c : cases) {
        const Strings printed = runProgram(VGPSCTL, c.arguments);
        EXPECT_THAT(printed, Contains(HasSubstr(c.said))) << testing::PrintToString(c.arguments);
        EXPECT_EQ(printed.back(), "exit " + std::to_string(c.status)) << c.said;
    }
    ::testing::internal::GetCapturedStderr();
    remove();
}

TEST_F(Vgpsctl, WatchesAcrossARestart) {
    makeAndStart();
    bench::ServerProcess watch({VGPSCTL, {"watch", "--count", "5"}, {}});
    EXPECT_TRUE(watch.waitForLine("faults: none", Clock::now() + kPatience));
    remove();
    const auto hungUp = watch.waitForLine("hung up", Clock::now() + kPatience);
    ASSERT_TRUE(hungUp);
    makeAndStart();
    EXPECT_TRUE(watch.waitForLine("faults: none", Clock::now() + kPatience, *hungUp));
    vgpssTellStatusData(service, 0, {}, nullptr);
    EXPECT_THAT(
        outputOf(watch),
        ElementsAre(StartsWith("connected to Test (Maker, Model, Id)"), "device: nothing known",
                    "faults: none", HasSubstr("hung up"), StartsWith("connected to Test"),
                    "device: nothing known", "faults: none", HasSubstr("fix invalid"), "exit 0"));
}

TEST_F(Vgpsctl, WatchesLinesAsTheyComeForAWhile) {
    makeAndStart();
    const Strings printed = runProgram(VGPSCTL, {"watch", "--json", "--seconds", "0.5"});
    EXPECT_THAT(printed, Contains(StartsWith(R"({"report":"GPS_RECEIVER_DEVICE","sequence":0,)")));
    EXPECT_EQ(printed.back(), "exit 0");
    remove();
    EXPECT_EQ(runProgram(VGPSCTL, {"watch"}).back(), "exit 2");
}

}  // namespace
}  // namespace victory_test
