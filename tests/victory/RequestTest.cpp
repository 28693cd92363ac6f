// What clients ask: each request, every way to spoil one, and clients that misbehave.
#include <memory>
#include <random>

#include "support/Eventually.h"
#include "victory/Owner.h"

namespace victory_test {
namespace {

using ::testing::HasSubstr;

constexpr std::size_t kMaximumLine = std::size_t{4} << 20;

constexpr const char* kDuration = R"({"request":"missionDuration","id":"x","duration":5})";

class Request : public OwnedRig {};

struct GoodRequest {
    const char* line;
    const char* call;
};

const GoodRequest kGoodRequests[] = {
    {R"({"request":"command","id":1,"commands":[{"name":0,"type":1},{"name":-7,"type":3}]})",
     "command 0:1 -7:3"},
    {R"({"request":"command","commands":[]})", "command"},
    {R"({"request":"saveVcl","id":2,"text":"<vcl:VCL a='\u00e9'/>"})", "vcl <vcl:VCL a='é'/>"},
    {R"({"request":"magneticVariation","id":3,"source":0,"degrees":-12.5})", "variation 0 -12.5"},
    {R"({"request":"magneticVariation","id":3,"source":2,"degrees":190})", "variation 2 190"},
    {R"({"request":"missionDuration","id":4,"duration":4294967295})", "duration 4294967295"},
    {R"({"request":"operatingMode","id":5,"mode":-2147483648})", "mode -2147483648"},
    {R"({"request":"hotStartPort","id":6,"name":"J4COM3","extra":[]})", "port J4COM3"},
    {R"({"request":"hotStartData","id":7,"hotStartMode":3,"messages":[)"
     R"({"messageId":7,"sequence":1,"bytes":""},{"messageId":-1,"sequence":2,"bytes":"fF8107"}]})",
     "data 3 7,1,[] -1,2,[255,129,7]"},
};

TEST_F(Request, IsCarriedToTheOwnerAndAnsweredWithItsResult) {
    start();
    Client client = connect();
    for (const GoodRequest& request : kGoodRequests) {
        for (const int result : {0, 1, -5}) {
            owner.result = result;
            const json reply = client.askLine(request.line);
            EXPECT_EQ(reply["result"], result == 0 ? 0 : 1) << request.line;
            EXPECT_EQ(reply["reply"], json::parse(request.line).value("id", json()));
            EXPECT_EQ(owner.last(), request.call);
        }
    }
    const std::string name(255, 'p');
    client.ask(json{{"request", "hotStartPort"}, {"name", name}});
    EXPECT_EQ(owner.last(), "port " + name);
}

TEST_F(Request, OfAWholeHotStartRecordFits) {
    start();
    Client client = connect();
    json request = {{"request", "hotStartData"}, {"hotStartMode", 0}, {"messages", json::array()}};
    const std::string bytes(std::size_t{2} * VGPSC_HOT_START_MESSAGE_BYTES, 'A');
    const std::string callBytes = json(std::vector(VGPSC_HOT_START_MESSAGE_BYTES, 0xAA)).dump();
    std::string call = "data 0";
    for (int i = 1; i <= VGPSC_HOT_START_MESSAGES; ++i) {
        request["messages"].push_back({{"messageId", 0}, {"sequence", i}, {"bytes", bytes}});
        call += " 0," + std::to_string(i) + "," + callBytes;
    }
    EXPECT_EQ(client.ask(request)["result"], 0);
    EXPECT_EQ(owner.last(), call);
    request["messages"].push_back({{"messageId", 0}, {"sequence", 1}, {"bytes", ""}});
    EXPECT_THAT(client.ask(request)["error"], HasSubstr("300 objects"));
    request["messages"] = {{{"messageId", 0}, {"sequence", 1}, {"bytes", bytes + "00"}}};
    EXPECT_THAT(client.ask(request)["error"], HasSubstr("4064"));
}

struct BadRequest {
    std::string line;
    const char* error;
};

const BadRequest kBadRequests[] = {
    {"{", "isn't JSON, at byte 2"},
    {"GET / HTTP/1.1\r", "isn't JSON"},
    {std::string("\0\x01\xFF", 3), "isn't JSON"},
    {"{\"request\":\"\xC3\"}", "isn't JSON"},
    {"[]", "isn't a JSON object"},
    {"{}", "\"request\" is missing"},
    {R"({"request":7})", "\"request\" has to be a text"},
    {"{\"request\":\"erase\\n\xC3\xA9\"}", "there is no request \"erase???\""},
    {R"({"request":"missionDuration","id":[1],"duration":1})", "\"id\" has to be"},
    {R"({"request":"missionDuration"})", "\"duration\" is missing"},
    {R"({"request":"missionDuration","duration":-1})", "0 to 4294967295"},
    {R"({"request":"missionDuration","duration":4294967296})", "0 to 4294967295"},
    {R"({"request":"missionDuration","duration":18446744073709551616})", "0 to 4294967295"},
    {R"({"request":"missionDuration","duration":1.0})", "0 to 4294967295"},
    {R"({"request":"operatingMode","mode":2147483648})", "-2147483648 to 2147483647"},
    {R"({"request":"operatingMode","mode":-2147483649})", "-2147483648 to 2147483647"},
    {R"({"request":"magneticVariation","source":0,"degrees":"north"})", "\"degrees\" has to be"},
    {R"({"request":"magneticVariation","source":0,"degrees":1e999})", "number out of range"},
    {R"({"request":"magneticVariation","source":null,"degrees":1})", "\"source\" has to be"},
    {R"({"request":"command","commands":{}})", "array of at most 50 objects"},
    {R"({"request":"command","commands":[1]})", "array of at most 50 objects"},
    {R"({"request":"command","commands":[{"name":0}]})", "\"type\" is missing"},
    {R"({"request":"saveVcl","text":"<VCL/>"})", "root element \"VCL\", needed is vcl:VCL"},
    {R"({"request":"saveVcl","text":"<vcl:VCL>"})", "isn't XML"},
    {R"({"request":"saveVcl","text":"<vcl:VCL/>\u0000"})", "none of them NUL"},
    {R"({"request":"saveVcl","text":")" + std::string(65536, ' ') + "\"}", "at most 65535 bytes"},
    {R"({"request":"hotStartPort","name":")" + std::string(256, 'p') + "\"}", "at most 255 bytes"},
    {R"({"request":"hotStartData","hotStartMode":1,"messages":[{"messageId":1,"sequence":1,)"
     R"("bytes":"ABC"}]})",
     "two hexadecimal digits"},
    {R"({"request":"hotStartData","hotStartMode":1,"messages":[{"messageId":1,"sequence":1,)"
     R"("bytes":"AG"}]})",
     "has to be hexadecimal"},
    {std::string(100000, '['), "8 levels"},
    {"[" + std::string(100000, '{'), "isn't JSON"},
    {json{{"a", std::vector<int>(5000)}}.dump(), "4096 values"},
};

TEST_F(Request, ThatCanNotBeReadIsAnsweredAndSaidOnStandardError) {
    start();
    Client client = connectAndGreet();
    for (const BadRequest& request : kBadRequests) {
        ::testing::internal::CaptureStderr();
        const json reply = client.askLine(request.line);
        const std::string said = ::testing::internal::GetCapturedStderr();
        EXPECT_THAT(reply.value("error", ""), HasSubstr(request.error)) << request.line;
        EXPECT_FALSE(reply.contains("result"));
        EXPECT_THAT(said, ::testing::StartsWith("SOAP 1.2 fault SOAP-ENV:Sender"));
        EXPECT_THAT(said, HasSubstr(request.error));
        EXPECT_EQ(said.find('\n'), said.size() - 1);
        EXPECT_LT(said.size(), 300U);
    }
    EXPECT_EQ(owner.begun.value(), 0);
    EXPECT_EQ(client.askLine(R"({"request":"command","commands":5,"id":9})")["reply"], 9);
    EXPECT_EQ(client.askLine(kDuration)["result"], 0);
}

TEST_F(Request, SpoiledAnywhereGetsOneReplyAndHarmsNothing) {
    start();
    Client client = connectAndGreet();
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    ::testing::internal::CaptureStderr();
    for (const GoodRequest& request : kGoodRequests) {
        const std::string line = request.line;
        for (std::size_t length = 1; length < line.size(); ++length) {
            const char any = static_cast<char>(random());
            std::string mutated = line;
            mutated[length] = any == '\n' ? ' ' : any;  // its end would make two lines of it
            for (const std::string& text : {line.substr(0, length), mutated}) {
                const json reply = client.askLine(text);
                ASSERT_NE(reply.contains("result"), reply.contains("error")) << text;
            }
        }
        ASSERT_EQ(client.askLine(kDuration)["result"], 0);
    }
    ::testing::internal::GetCapturedStderr();
}

TEST_F(Request, OfTooManyBytesIsRefusedAndPassedOver) {
    start();
    Client client = connectAndGreet();
    ::testing::internal::CaptureStderr();
    // Longer than what a socket buffers: the first part is answered before its end is sent.
    client.send(std::string(kMaximumLine + 100000, 'x'));
    EXPECT_THAT(client.reply()["error"], HasSubstr("longer than 4194304 bytes"));
    client.send(std::string(2 * kMaximumLine, 'x') + "\n \r\n\n" + kDuration + "\n");
    EXPECT_EQ(client.reply()["result"], 0);
    EXPECT_EQ(client.askLine(std::string(kMaximumLine, ' ') + kDuration)["reply"], nullptr);
    EXPECT_EQ(client.askLine(std::string(kMaximumLine - 100, ' ') + kDuration)["result"], 0);
    ::testing::internal::GetCapturedStderr();
}

TEST_F(Request, CutOffByTheEndOfItsConnectionIsNotCarriedOut) {
    start();
    Client client = connectAndGreet();
    ::testing::internal::CaptureStderr();
    client.send(std::string(kDuration) + "\n" + kDuration);
    client.endRequests();
    EXPECT_EQ(client.reply()["result"], 0);
    EXPECT_THAT(client.reply()["error"], HasSubstr("the connection ended"));
    EXPECT_EQ(owner.begun.value(), 1);
    vgpssTellDeviceDatumCode(service, 206, 0);  // who only listens on still hears
    EXPECT_EQ(client.data(kDevice)["datumCode"], 206);
    EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("SOAP-ENV:Sender"));
}

TEST_F(Request, UnderWayHoldsUpItsOwnClientAlone) {
    Count release;
    owner.during = [&] { EXPECT_TRUE(release.reaches(1)); };
    start();
    const auto numbered = [](int id) {
        return R"({"request":"missionDuration","duration":5,"id":)" + std::to_string(id) + "}\n";
    };
    Client patient = connectAndGreet();
    patient.send(numbered(1) + numbered(2) + numbered(3));
    ASSERT_TRUE(owner.begun.reaches(1));
    Client other = connectAndGreet();
    vgpssTellStatusData(service, 0, statusAt(1), nullptr);
    EXPECT_EQ(other.data(kStatus)["receiverTime"], 1);
    EXPECT_EQ(patient.data(kStatus)["receiverTime"], 1);
    other.send(std::string(kDuration) + "\n");
    ASSERT_TRUE(owner.begun.reaches(2));
    {
        Client vanishing = connectAndGreet();
        vanishing.send(std::string(kDuration) + "\n" + kDuration + "\n" + kDuration);
        ASSERT_TRUE(owner.begun.reaches(3));
    }
    EXPECT_EQ(owner.begun.value(), 3) << "of each client one at a time";
    EXPECT_EQ(owner.ended.value(), 0);
    release.add();
    for (const int id : {1, 2, 3}) {
        EXPECT_EQ(patient.reply(), (json{{"reply", id}, {"result", 0}}));
    }
    EXPECT_EQ(other.reply()["result"], 0);
    EXPECT_TRUE(owner.ended.reaches(6));  // the vanished client's third was cut off
    EXPECT_EQ(other.askLine(kDuration)["result"], 0);
    EXPECT_EQ(owner.ended.value(), 7);
    remove();
}

// --- Clients ------------------------------------------------------------------------------------

TEST_F(Request, AClientThatNeverReadsIsDroppedAndOthersMissNothing) {
    start();
    Client stalled = connect();
    Client reader = connectAndGreet();
    ::testing::internal::CaptureStderr();
    const auto hotStart = std::make_unique<VgpscReceiverHotStartData>();
    hotStart->messageCount = VGPSC_HOT_START_MESSAGES;
    for (VgpscHotStartMessage& message : hotStart->messages) {
        message.length = VGPSC_HOT_START_MESSAGE_BYTES;
    }
    for (unsigned i = 1; i <= 6; ++i) {  // 1.3 MB each
        hotStart->hotStartMode = i;
        vgpssTellDeviceReceiverHotStartData(service, *hotStart);
        EXPECT_EQ(reader.data(kDevice)["hotStartData"]["hotStartMode"], i);
    }
    EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("dropped client 1"));
    EXPECT_TRUE(stalled.seesTheEnd());
}

TEST_F(Request, ClientsBeyondTheBoundAreTurnedAwayUntilOneLeaves) {
    start();
    std::vector<std::unique_ptr<Client>> clients;
    for (int i = 0; i < 64; ++i) {
        clients.push_back(std::make_unique<Client>(endpoint()));
        ASSERT_TRUE(clients.back()->next().contains("hello"));
    }
    Client refused = connect();
    EXPECT_THAT(refused.next()["error"], HasSubstr("too many clients"));
    EXPECT_TRUE(refused.seesTheEnd());
    clients.pop_back();
    EXPECT_TRUE(eventually([] { return connect().next().contains("hello"); }));
}

}  // namespace
}  // namespace victory_test
