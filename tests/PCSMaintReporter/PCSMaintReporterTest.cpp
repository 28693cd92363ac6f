#include "PCSMaintReporter/PCSMaintReporter.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>

#include "support/Captured.h"
#include "support/KeptRecords.h"

namespace {

using Event = aspn2_msgs::idl::MaintenanceEvent;
using FACE::RETURN_CODE_TYPE;
using Maint = PCSMaintReporter;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;
using namespace std::chrono_literals;

/** What to do with the codes of an event is told once, here. */
template <typename Work>
auto withCodes(const Work& work) {
    return work(Maint::eCrit{3}, Maint::eOutcome{4}, static_cast<unsigned char>(46),
                Maint::eCat{11}, Maint::eLru{1}, Maint::eCmpo{2}, Maint::eLru{3}, Maint::eCmpo{4},
                Maint::eLru{5}, Maint::eCmpo{6}, Maint::eLru{7}, Maint::eCmpo{8}, 9);
}

Event build(const std::string& description, const std::string& identity) {
    Event event;
    withCodes([&](auto... codes) {
        Maint::buildMaintenanceEvent(event, description, identity, codes...);
    });
    return event;
}

std::vector<std::string> pieces(const std::string& text, const char* tag) {
    std::vector<Event> events;
    withCodes([&](auto... codes) {
        Maint::buildMultiMaintenanceEventVectorFromLongDescription(text, "", codes..., events, tag);
    });
    std::vector<std::string> descriptions;
    for (const Event& event : events) {
        descriptions.emplace_back(event.description().data());
    }
    return descriptions;
}

/** Text of that many characters, each told from its neighbours. */
std::string text(std::size_t size) {
    std::string made(size, ' ');
    for (std::size_t i = 0; i < size; ++i) {
        made[i] = static_cast<char>('a' + i % 26);
    }
    return made;
}

TEST(MaintenanceEvent, TextsAreCutToTheirRoomAndCodesGoInAsTheyAre) {
    for (const std::size_t size : {0U, 1U, 15U, 16U, 55U, 56U, 5000U}) {
        const Event event = build(text(size), text(size));
        EXPECT_EQ(std::string(event.description().data()), text(std::min<std::size_t>(size, 55)));
        EXPECT_EQ(std::string(event.identity().data()), text(std::min<std::size_t>(size, 15)));
    }
    Event reused = build(text(55), text(15));
    reused.header().seq_num(77);
    withCodes([&](auto... codes) { Maint::buildMaintenanceEvent(reused, "a", "b", codes...); });
    Event fresh = build("a", "b");
    std::vector<int> codes{fresh.criticality_id(), fresh.outcome_id(), fresh.location_id(),
                           fresh.category_id(), fresh.repeat_in_seconds()};
    for (const auto& source : fresh.fault_sources()) {
        codes.insert(codes.end(), {source.lru_id(), source.component_id()});
    }
    EXPECT_THAT(codes, ElementsAre(3, 4, 46, 11, 9, 1, 2, 3, 4, 5, 6, 7, 8));
    fresh.header().seq_num(77);
    EXPECT_EQ(reused, fresh) << "nothing of the longer texts is left, and the head is kept";
}

TEST(MaintenanceEvent, LongDescriptionIsCutIntoNumberedPieces) {
    EXPECT_THAT(pieces("", "SOAP"), ElementsAre());
    EXPECT_THAT(pieces(text(48), "SOAP"), ElementsAre("SOAP:" + text(48)));
    EXPECT_THAT(pieces(text(49), "SOAP"), ElementsAre("SOAP_1:" + text(48), "SOAP_2:w"));
    EXPECT_THAT(pieces(text(49), nullptr), ElementsAre("Evt:" + text(49)));
    EXPECT_THAT(pieces("xyz", ""), ElementsAre(":xyz"));
    EXPECT_THAT(pieces("xyz", text(51).c_str()),
                ElementsAre(text(51) + "_1:x", text(51) + "_2:y", text(51) + "_3:z"));
    EXPECT_EQ(pieces("xyz", text(200).c_str()), pieces("xyz", text(51).c_str()))
        << "a tag that is too long";

    // Of ten full pieces nine are sent; without their prefixes they are the text again.
    std::string joined;
    for (const std::string& piece : pieces(text(480), "SOAP")) {
        EXPECT_EQ(piece.size(), 55U);
        EXPECT_EQ(piece[5], static_cast<char>('1' + joined.size() / 48));
        joined += piece.substr(piece.find(':') + 1);
    }
    EXPECT_EQ(joined, text(480).substr(0, 9 * 48));
}

TEST(MaintenanceEvent, DefaultFaultSourcesOfEachServer) {
    // What it returns, and the pairs behind which all are 0.
    const std::map<unsigned char, std::vector<int>> cases = {
        {0, {0}},
        {1, {1, 1}},
        {33, {1, 1, 5}},
        {34, {1, 1, 5}},
        {35, {1, 1, 9}},
        {43, {0}},
        {46, {1, 1, 8}},
        {54, {1, 1, 0}},
        {97, {0, 1, 1}},
        {125, {1, 1, 8}},
        {255, {0}},
        {39, {4, 1, 4, 2, 14, 2, 16}},
        {42, {16, 3, 16, 3, 17, 1, 17, 1, 1}},
        {47, {14, 2, 15, 2, 14, 2, 13, 2, 16}}};
    for (auto [server, expected] : cases) {
        constexpr Maint::eLru spoilt{9};
        Maint::eLru lru[4] = {spoilt, spoilt, spoilt, spoilt};
        Maint::eCmpo cmpo[4] = {Maint::eCmpo{9}, Maint::eCmpo{9}, Maint::eCmpo{9}, Maint::eCmpo{9}};
        std::vector<int> result{Maint::getDefaultLruSubForServerID(
            server, lru[0], cmpo[0], lru[1], cmpo[1], lru[2], cmpo[2], lru[3], cmpo[3])};
        for (int i = 0; i < 4; ++i) {
            result.insert(result.end(), {lru[i], cmpo[i]});
        }
        expected.resize(9);
        EXPECT_EQ(result, expected) << "server " << int{server};
    }
}

/** Keeps the events; what it does first may throw. */
struct KeptEvents : KeptRecords<Event> {
    void onSend() override { first(); }
    void (*first)() = [] {};
};

/** The process's own reporter, started and ended by each test. */
class MaintenanceReporter : public testing::Test {
protected:
    MaintenanceReporter() : reporter(Maint::Instance()) { reporter.SetTimeOffset(0ns); }
    ~MaintenanceReporter() override { reporter.DoneMaintReporter(); }
    MaintenanceReporter(const MaintenanceReporter&) = delete;
    MaintenanceReporter& operator=(const MaintenanceReporter&) = delete;

    void init(const std::shared_ptr<KeptEvents>& ts) {
        reporter.InitMaintReporter("Server", ASPN2::DeviceIdFactory("ORDA", 46), ts, 5);
    }
    void send(const std::string& description) {
        withCodes(
            [&](auto... codes) { reporter.sendMaintenanceEvent(description, "me", codes...); });
    }

    Maint& reporter;
    std::shared_ptr<KeptEvents> transport = std::make_shared<KeptEvents>();
};

TEST_F(MaintenanceReporter, BeforeItsStartAndAfterItsEndNothingIsSent) {
    const Captured output;
    send("early");
    init(transport);
    reporter.DoneMaintReporter();
    reporter.DoneMaintReporter();
    send("late");
    EXPECT_EQ(transport->waitFor(0).size(), 0U);
    EXPECT_EQ(transport.use_count(), 1) << "the transport is let go";
    EXPECT_THAT(output.text(),
                testing::MatchesRegex("(PCSMaintReporter\\.cpp \\([0-9]+\\) "
                                      "publishMaintenanceEvent: PCSMaintReporter not initialized! "
                                      "Cannat send MaintenanceEvent\\.\n){2}"));
}

TEST_F(MaintenanceReporter, StartIsRefusedInWords) {
    using Refusal = std::runtime_error;
    const auto again = [this] { init(transport); };
    EXPECT_THAT([this] { init(nullptr); },
                ThrowsMessage<Refusal>(
                    "InitMaintReporter(Server) called with an empty maintenanceEventTypedTS."));
    transport->senderCode = RETURN_CODE_TYPE::INVALID_PARAM;
    EXPECT_THAT(again,
                ThrowsMessage<Refusal>(HasSubstr("InitMaintReporter(Server) unable to register")));
    transport->senderCode = RETURN_CODE_TYPE::NO_ACTION;
    again();
    EXPECT_THAT(
        again, ThrowsMessage<Refusal>(
                   "InitMaintReporter(Server) called on an already initialized PCSMaintReporter."));
    send("on the first");
    EXPECT_EQ(transport->waitFor(1).size(), 1U);
}

TEST_F(MaintenanceReporter, StampsEachEventByTheSteadyClock) {
    init(transport);
    reporter.SetAspnTimeOffset(1000, 5);
    EXPECT_GE(reporter.GetTime(), 1000s + 5ns);
    EXPECT_LT(reporter.GetTime(), 1100s);
    send("one");
    send("two");
    const auto events = transport->waitFor(2);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(transport->lastConnection, 5);
    for (std::size_t i = 0; i < 2; ++i) {
        const auto& head = events[i].header();
        EXPECT_EQ(head.seq_num(), static_cast<std::int64_t>(i));
        EXPECT_EQ(head.device_id(), 0x012E3B00);
        EXPECT_EQ(head.timestamp_valid(), head.timestamp_arrival());
        EXPECT_GE(head.timestamp_valid().sec(), 1000);
        EXPECT_LT(head.timestamp_valid().sec(), 1100);
    }
}

TEST_F(MaintenanceReporter, EventThatCannotGoOutIsALine) {
    init(transport);
    const Captured output;
    testing::internal::CaptureStderr();
    transport->sendCode = RETURN_CODE_TYPE::DATA_OVERFLOW;
    send("overflow");
    transport->first = [] { throw std::runtime_error("the transport is broken"); };
    send("throw");
    transport->first = [] { throw 1; };
    send("throw");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "the transport is broken\n");
    const std::string line = "!!!!!! Server MaintReporter could not publish event\n";
    EXPECT_EQ(output.text(), line + line + line);
}

TEST_F(MaintenanceReporter, TellsOfEachPieceOfALongDescription) {
    init(transport);
    const Captured output;
    withCodes([&](auto... codes) {
        reporter.sendLongDescriptionMultiMaintenanceEvent(text(50), "me", codes..., nullptr);
    });
    EXPECT_EQ(output.text(), ": Sending maintenance event: Evt_1:" + text(49) +
                                 "\n: Sending maintenance event: Evt_2:x\n");
    EXPECT_EQ(transport->waitFor(2).size(), 2U);
}

TEST_F(MaintenanceReporter, ThreadsNeverShareASequenceNumber) {
    init(transport);
    constexpr int threadCount = 4;
    constexpr int eventCount = 500;
    std::vector<std::jthread> threads(threadCount);
    for (std::jthread& thread : threads) {
        thread = std::jthread([this] {
            for (int i = 0; i < eventCount; ++i) {
                send("x");
            }
        });
    }
    threads.clear();
    const auto events = transport->waitFor(threadCount * eventCount);
    ASSERT_EQ(events.size(), std::size_t{threadCount * eventCount});
    for (std::size_t i = 0; i < events.size(); ++i) {
        ASSERT_EQ(events[i].header().seq_num(), static_cast<std::int64_t>(i));
    }
}

}  // namespace
