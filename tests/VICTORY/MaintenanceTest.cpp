#include <gmock/gmock.h>

#include <cstdio>
#include <thread>

#include "PCSMaintReporter/PCSMaintReporter.h"
#include "VICTORY/ServerFixture.h"
#include "support/KeptRecords.h"

namespace {

using Event = aspn2_msgs::idl::MaintenanceEvent;
using testing::HasSubstr;
using testing::Not;

constexpr const char* fault = "SOAP 1.2 fault SOAP-ENV:Sender";

/** Prints through C stdio while a library would. */
class Maintenance : public ServerFixture {
protected:
    Maintenance() {
        PCSMaintReporter::Instance().InitMaintReporter(
            "VGpsReceiverServer", ASPN2::DeviceIdFactory("ORDA", 46), transport, 4);
    }
    ~Maintenance() override { PCSMaintReporter::Instance().DoneMaintReporter(); }
    Maintenance(const Maintenance&) = delete;
    Maintenance& operator=(const Maintenance&) = delete;

    unsigned log(const std::string& text) {
        return server.logMaintenanceEvent(text.c_str(), static_cast<unsigned>(text.size()));
    }
    std::vector<Event> events() { return transport->waitFor(0); }

    std::shared_ptr<KeptRecords<Event>> transport = std::make_shared<KeptRecords<Event>>();
};

/** The texts that the events were cut from: a piece with number 1, or none, begins a new one. */
std::vector<std::string> rejoin(const std::vector<Event>& events) {
    std::vector<std::string> texts;
    for (const Event& event : events) {
        const std::string piece = event.description().data();
        const std::size_t colon = piece.find(':');
        if (piece[4] == ':' || piece[5] == '1') {
            texts.emplace_back();
        }
        texts.back() += piece.substr(colon + 1);
    }
    return texts;
}

TEST_F(Maintenance, OnlyASendersFaultBecomesEvents) {
    const Captured output;
    EXPECT_EQ(server.logMaintenanceEvent(nullptr, 7), 0U);
    for (const char* other : {"", "\n", "SOAP 1.2 fault SOAP-ENV:Receiver", "SOAP-ENV:Sender"}) {
        EXPECT_EQ(log(other), 0U) << other;
    }
    EXPECT_EQ(server.logMaintenanceEvent(fault, 29), 0U)
        << "what lies behind the length counts not";
    EXPECT_EQ(events().size(), 0U);
    EXPECT_EQ(output.text(), "");

    const std::string text = std::string("before ") + fault + ": what it says\n";
    EXPECT_EQ(log(text), text.size());
    EXPECT_EQ(rejoin(events()), std::vector{text});
    EXPECT_EQ(events().front().repeat_in_seconds(), 0);
}

TEST_F(Maintenance, DebugShowsWhateverTheLibraryPrints) {
    ASSERT_EQ(configure({{"Debug", "true"}}), FACE::RETURN_CODE_TYPE::NO_ERROR);
    const Captured output;
    EXPECT_EQ(log("harmless"), 0U);
    EXPECT_THAT(output.text(),
                testing::MatchesRegex("VGpsReceiverServerMaintenance\\.cpp \\([0-9]+\\) "
                                      "logMaintenanceEvent: VGpsReceiverServer SOAP Error: "
                                      "harmless\n"));
}

TEST_F(Maintenance, CapturesWhatIsPrintedFromBeforeTheServiceUntilTheServerGoes) {
    const auto complain = [] { std::fprintf(stderr, "%s of the library\n", fault); };
    const std::string line = std::string(fault) + " of the library\n";
    {
        VGpsReceiverServer other;
        fake::with([](fake::Victory& victory) { victory.readFails = true; });
        EXPECT_FALSE(other.InitializeVictory(nullptr));
        complain();
        EXPECT_EQ(rejoin(events()), std::vector{line}) << "also while the service can't come up";
        other.InitializeVictory(nullptr);
        complain();
        EXPECT_EQ(rejoin(events()), (std::vector{line, line})) << "once for each print";
    }
    testing::internal::CaptureStderr();
    complain();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), line);
    EXPECT_EQ(rejoin(events()).size(), 2U);
}

TEST_F(Maintenance, LinesOfManyThreadsArriveWholeWhileTheServiceRestarts) {
    ASSERT_TRUE(server.InitializeVictory(nullptr));
    constexpr int lineCount = 200;
    const auto lineOf = [](std::size_t t) { return utilities::concat(fault, " thread ", t, "\n"); };
    const Captured quiet;
    std::vector<std::jthread> threads;
    for (std::size_t t = 0; t < 4; ++t) {
        threads.emplace_back([line = lineOf(t)] {
            for (int i = 0; i < lineCount; ++i) {
                std::fputs(line.c_str(), i % 2 == 0 ? stdout : stderr);
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        server.ShutdownVictory();
        server.InitializeVictory("<again/>");
    }
    threads.clear();
    const auto lines = rejoin(events());
    for (std::size_t t = 0; t < 4; ++t) {
        EXPECT_EQ(std::ranges::count(lines, lineOf(t)), lineCount);
    }
}

}  // namespace
