/** What the transport answers, one process. */
#include <gmock/gmock.h>

#include <fstream>
#include <limits>
#include <stdexcept>

#include "tss/Fixture.h"

namespace tss_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::internal::CaptureStderr;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStderr;
using ::testing::internal::GetCapturedStdout;
using TSS::HC_TSS;

constexpr std::array noConnection{-1LL, std::numeric_limits<long long>::min(), 77LL, 1LL << 32};

TEST(Transport, BeforeInitialize_EverythingIsNotAvailable) {
    Server server({});
    EXPECT_EQ(codeOf(&HC_TSS::Initialize, *server.tss, "x"), NOT_AVAILABLE) << "no configuration";
    long long connection = 5;
    int size = 42;
    EXPECT_EQ(codeOf(&HC_TSS::Create_Connection, *server.tss, "Command", -1, connection, size),
              NOT_AVAILABLE);
    EXPECT_EQ(connection, -1);
    EXPECT_EQ(size, 42);
    EXPECT_EQ(codeOf(&HC_TSS::Destroy_Connection, *server.tss, 0), NOT_AVAILABLE);
    EXPECT_EQ(server.sender(0), NOT_AVAILABLE) << "no reference yet";
    EXPECT_EQ(codeOf(&Front::Set_Reference, server.typed, "", server.tss, 0), NO_ERROR);
    EXPECT_EQ(server.sender(0), NOT_AVAILABLE);
    EXPECT_EQ(server.receive(0, {}), NOT_AVAILABLE);
    EXPECT_EQ(server.send(0, "x"), NOT_AVAILABLE);
    EXPECT_EQ(server.endSender(0), NOT_AVAILABLE);
    EXPECT_EQ(server.endCallback(0), NOT_AVAILABLE);
}

/** A transport that is none of ours. */
class Foreign : public TSS::Base {
    void Initialize(const String&, Code&) override {}
    void Create_Connection(const String&, long long, long long&, int&, Code&) override {}
    void Destroy_Connection(long long, Code&) override {}
    void Unregister_Sender(long long, Code&) override {}
    void Unregister_Callback(long long, Code&) override {}
};

TEST(Transport, References_AreTakenOnce) {
    Server server({});
    const auto refer = [&server](auto reference) {
        return codeOf(&Front::Set_Reference, server.typed, "", reference, 0);
    };
    const auto configure = [&server](std::shared_ptr<HC_Config> configuration) {
        return codeOf(&HC_TSS::Set_Reference, *server.tss, "", configuration, 0);
    };
    EXPECT_EQ(configure(nullptr), INVALID_PARAM);
    EXPECT_EQ(refer(nullptr), INVALID_PARAM);
    EXPECT_EQ(refer(std::make_shared<Foreign>()), INVALID_PARAM);

    ASSERT_EQ(server.start(), NO_ERROR);
    EXPECT_EQ(configure(std::make_shared<HC_Config>()), NOT_AVAILABLE);
    EXPECT_EQ(refer(std::make_shared<HC_TSS>("other")), NOT_AVAILABLE);
    EXPECT_EQ(server.connect("Command"), 0);
    EXPECT_EQ(server.sender(0), NO_ERROR) << "the first reference is kept";
    EXPECT_EQ(codeOf(&HC_TSS::Initialize, *server.tss, "x"), NO_ACTION);
}

TEST(Transport, WithoutItsFileOrContainer_SaysWhich) {
    const std::string bare = std::filesystem::temp_directory_path() / "tss_bare.xml";
    std::ofstream(bare) << "<HC_Configurations/>";
    for (const auto& [file, told] :
         {std::pair{std::string("/nowhere.xml"),
                    "CFR:4 Configuration /nowhere.xml was not available\n"},
          {bare, "CFR:4 Domain FastRtps was not available\n"}}) {
        HC_TSS tss("tester");
        codeOf(&HC_TSS::Set_Reference, tss, "", std::make_shared<HC_Config>(), 0);
        CaptureStdout();
        EXPECT_EQ(codeOf(&HC_TSS::Initialize, tss, file.c_str()), NOT_AVAILABLE);
        EXPECT_EQ(GetCapturedStdout(), told);
    }
    std::filesystem::remove(bare);
}

TEST(Transport, EachDomainParameterIsNeeded_AndNamedWhenMissing) {
    for (const std::string parameter :
         {"DomainId", "HistoryDepth", "UseBestEffort", "BackFillHistory", "UseTransport",
          "TcpAddress", "TcpPort"}) {
        Server server({{parameter, ""}});
        CaptureStdout();
        EXPECT_EQ(server.start(), INVALID_CONFIG);
        EXPECT_EQ(GetCapturedStdout(), "WARNING - Parameter " + parameter + " not found\n");
        EXPECT_FALSE(server.tss->isInitialized());
    }
    Server bad(Parameters{{"DomainId", ""}, {"TcpPort", ""}});
    CaptureStdout();
    EXPECT_EQ(bad.start(), INVALID_CONFIG);
    EXPECT_EQ(GetCapturedStdout(),
              "WARNING - Parameter DomainId not found\nWARNING - Parameter TcpPort not found\n");
}

TEST(Transport, ParticipantThatCannotBeMade_IsAnInvalidConfiguration) {
    const Taken_Port taken;
    const std::vector<Parameters> table{
        {{"DomainId", "233"}},
        {{"DomainId", "0xE9"}},
        {{"DomainId", "-1"}},
        {{"DomainId", "18446744073709551616"}},
        {{"UseTransport", "shm"}},
        {{"UseTransport", "SHM "}},
        {{"UseTransport", "TCP_Server"}, {"TcpPort", taken.number()}},
        {{"UseTransport", "TCP_Server"}, {"TcpPort", "65536"}},
        {{"UseTransport", "TCP_Client"}, {"TcpPort", "0"}},
        {{"UseTransport", "TCP_Client"}, {"TcpAddress", "256.0.0.1"}},
        {{"UseTransport", "TCP_Client"}, {"TcpAddress", "somewhere"}},
    };
    for (const Parameters& parameters : table) {
        SCOPED_TRACE(parameters.begin()->first + " " + parameters.begin()->second);
        Server server(parameters);
        CaptureStderr();
        EXPECT_EQ(server.start(), INVALID_CONFIG);
        EXPECT_THAT(GetCapturedStderr(), HasSubstr("Error creating participant tester\n"));
        EXPECT_EQ(server.connect("Command"), refused(NOT_AVAILABLE));
    }
}

TEST(Transport, SettingsAreTakenAsTheirPrefixSays) {
    // Hexadecimal and octal, the highest domain, booleans in capitals, an address of no use.
    for (const Parameters& parameters : std::vector<Parameters>{
             {{"DomainId", "0xE8"}, {"HistoryDepth", "0x10"}},
             {{"DomainId", "0350"}, {"HistoryDepth", "020"}, {"UseTransport", "UDP"}},
             {{"UseTransport", "TCP_Server"}, {"TcpAddress", "here"}, {"TcpPort", "70001"}}}) {
        Server server(parameters);
        ASSERT_EQ(server.start(), NO_ERROR);
        ASSERT_EQ(server.connect("Command"), 0);
        ASSERT_EQ(server.sender(0), NO_ERROR);
        const auto& attributes = server.tss->connectionMap_mutex_at(0).publisher->getAttributes();
        EXPECT_EQ(attributes.topic.historyQos.depth, 16);
    }
}

TEST(Transport, Connections_AreNumberedByNameAndNeverTwice) {
    Server server({});
    ASSERT_EQ(server.start(), NO_ERROR);
    EXPECT_EQ(server.connect("Command"), 0);
    EXPECT_EQ(server.connect("Response"), 1);
    EXPECT_EQ(server.connect("EventLog"), 2);
    EXPECT_EQ(server.connect("Command"), 0);
    EXPECT_EQ(server.connect("Nowhere"), refused(INVALID_CONFIG));
    EXPECT_EQ(server.connect("Untyped"), refused(INVALID_CONFIG));
    EXPECT_EQ(server.connect("Unsupported"), refused(INVALID_CONFIG));
    CaptureStderr();
    EXPECT_EQ(server.connect("Unknown"), refused(NO_ACTION));
    EXPECT_EQ(GetCapturedStderr(), "!!!!! Could NOT register topic 0 with participant tester\n");
    EXPECT_EQ(server.connect("Misnamed"), 3) << "a failure takes no number";
    EXPECT_EQ(codeOf(&HC_TSS::Destroy_Connection, *server.tss, 0), NO_ERROR);
    EXPECT_EQ(server.connect("Command"), 0);
    EXPECT_TRUE(server.tss->isTopicRegistered("aspn2_msgs::idl::EventLog"));
    EXPECT_FALSE(server.tss->isTopicRegistered("aspn2_msgs::idl::GSSIP"));
}

TEST(Transport, SendersAndCallbacks_AnswerByTheTable) {
    Inbox first;
    Inbox second;
    Server server({});
    ASSERT_EQ(server.start(), NO_ERROR);
    ASSERT_EQ(server.connect("Command"), 0);
    EXPECT_EQ(server.send(0, "x"), NOT_AVAILABLE);
    EXPECT_EQ(server.sender(0), NO_ERROR);
    EXPECT_EQ(server.sender(0), NO_ACTION);
    EXPECT_EQ(server.send(0, "x"), NO_ERROR);
    EXPECT_EQ(server.receive(0, first.callback()), NO_ERROR);
    EXPECT_EQ(server.receive(0, second.callback()), NO_ACTION);
    ASSERT_TRUE(server.matched(0, 1, 1));
    EXPECT_EQ(server.send(0, "y"), NO_ERROR);
    EXPECT_THAT(first.texts(1), ::testing::ElementsAre("y")) << "the first callback stays";
    EXPECT_TRUE(second.wait(0).empty());
    for (int i = 0; i < 2; ++i) {  // none left is no error
        EXPECT_EQ(server.endSender(0), NO_ERROR);
        EXPECT_EQ(server.endCallback(0), NO_ERROR);
        EXPECT_EQ(server.send(0, "x"), NOT_AVAILABLE);
    }
    EXPECT_EQ(server.sender(0), NO_ERROR);
    EXPECT_EQ(server.send(0, "x"), NO_ERROR);
    for (const long long connection : noConnection) {
        EXPECT_EQ(server.sender(connection), INVALID_PARAM);
        EXPECT_EQ(server.receive(connection, {}), INVALID_PARAM);
        EXPECT_EQ(server.send(connection, "x"), INVALID_PARAM);
        EXPECT_EQ(server.endSender(connection), INVALID_PARAM);
        EXPECT_EQ(server.endCallback(connection), INVALID_PARAM);
    }
}

TEST(Transport, WriterOrReaderThatCannotBeMade_ClosesTheConnection) {
    const auto invalid = [](const std::string& end) {
        return "invalid " + end + " QOS for topic: Command; see error log\n";
    };
    const auto misnamed = [](const std::string& end) {
        return "error creating " + end + " for topic: Misnamed\n";
    };
    const auto otherType = [](const std::string&) -> std::string {
        return "topic EventLog is of type aspn2_msgs::idl::EventLog, not of "
               "aspn2_msgs::idl::CommandResponse\n";
    };
    struct {
        Parameters parameters;
        const char* connection;
        std::function<std::string(std::string)> told;
    } const table[]{{{{"HistoryDepth", "0"}}, "Command", invalid},
                    {{{"HistoryDepth", "2147483648"}}, "Command", invalid},
                    {{}, "Misnamed", misnamed},
                    {{}, "EventLog", otherType}};
    for (const auto& row : table) {
        Server server(row.parameters);
        ASSERT_EQ(server.start(), NO_ERROR);
        ASSERT_EQ(server.connect(row.connection), 0);
        CaptureStderr();
        EXPECT_EQ(server.sender(0), CONNECTION_CLOSED);
        EXPECT_THAT(GetCapturedStderr(), HasSubstr("Participant tester " + row.told("publisher")));
        CaptureStderr();
        EXPECT_EQ(server.receive(0, {}), CONNECTION_CLOSED);
        EXPECT_THAT(GetCapturedStderr(), HasSubstr("Participant tester " + row.told("subscriber")));
        EXPECT_EQ(server.send(0, "x"), NOT_AVAILABLE);
    }
}

TEST(Transport, ReceivingIsByCallbackOnly) {
    Typed<CommandResponse> typed;
    long long transaction = 0;
    CommandResponse message;
    TSS::HEADER_TYPE header;
    Sequence<TSS::QoS_Element> qos;
    Code rc{};
    EXPECT_THAT([&] { typed.Receive_Message(0, -1, transaction, message, header, qos, rc); },
                ::testing::ThrowsMessage<std::runtime_error>(
                    "HC_TypedTS::Receive_Message() is not supported."));
}

TEST(Listeners, GuidToUid_ReadsTheEntityIdAlone) {
    eprosima::fastrtps::rtps::GUID_t guid;
    std::fill_n(guid.guidPrefix.value, 12, static_cast<unsigned char>(0xEE));
    const std::array<unsigned char, 4> id{0x81, 0x02, 0x03, 0x84};
    std::copy(id.begin(), id.end(), guid.entityId.value);
    EXPECT_EQ(TSS::Listeners::GuidToUid(guid), 0x81020384U);
}

/** Name and kinds of the elements that a policy of the kinds 0 to 4 and 255 becomes. */
template <typename Policy>
std::vector<std::string> kindsOf(TSS::QoS_Element (*convert)(const Policy&)) {
    std::vector<std::string> kinds{std::string(convert(Policy()).name.view())};
    for (const int value : {0, 1, 2, 3, 4, 255}) {
        Policy policy;
        // A kind that has no name may stand there: it came over the wire.
        policy.kind = static_cast<decltype(policy.kind)>(value);
        const TSS::QoS_Element element = convert(policy);
        kinds.emplace_back(element.kind.view());
        EXPECT_EQ(element.name.view(), kinds.front());
    }
    return kinds;
}

TEST(Listeners, Policies_AreNamedByTheirKind) {
    using namespace TSS::Listeners;
    using ::testing::ElementsAre;
    const std::string d = "UNKNOWN_DURABILITY_QOS";
    const std::string l = "UNKNOWN_LIVELINESS_QOS";
    const std::string r = "UNKNOWN_RELIABILITY_QOS";
    EXPECT_THAT(kindsOf(DurabilityQosPolicyToElement),
                ElementsAre("DurabilityQosPolicy", "VOLATILE_DURABILITY_QOS",
                            "TRANSIENT_LOCAL_DURABILITY_QOS", "TRANSIENT_DURABILITY_QOS",
                            "PERSISTENT_DURABILITY_QOS", d, d));
    EXPECT_THAT(kindsOf(LivelinessQosPolicyToElement),
                ElementsAre("LivelinessQosPolicy", "AUTOMATIC_LIVELINESS_QOS",
                            "MANUAL_BY_PARTICIPANT_LIVELINESS_QOS",
                            "MANUAL_BY_TOPIC_LIVELINESS_QOS", l, l, l));
    EXPECT_THAT(kindsOf(ReliabilityQosPolicyToElement),
                ElementsAre("ReliabilityQosPolicy", r, "BEST_EFFORT_RELIABILITY_QOS",
                            "RELIABLE_RELIABILITY_QOS", r, r, r));
}

}  // namespace
}  // namespace tss_tests
