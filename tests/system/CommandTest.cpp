#include <future>

#include "ASPN/AspnDeviceIds.h"
#include "bench/SiblingProcess.h"
#include "bench/siblings/Sibling.h"
#include "system/Unit.h"

namespace {

using testing::HasSubstr;

constexpr unsigned char systemController = 53;

/** A unit, and this process a sibling on its topics, in a domain of its own. */
class Commands : public Unit {
protected:
    Commands() { root.setParameter(bench::serverFile, "VGpsReceiverServer", "PARAM_5", "2"); }
    void startAndJoin() {
        startAndRun();
        sibling.emplace(systemController, root.configFile(bench::connectionsFile).string(),
                        bench::Past::AsConfigured);
        ASSERT_TRUE(sibling->waitForOthers(bench::within(patience)));
        ASSERT_TRUE(eventually([this] { return answerTo("BITSERVER_PING", 500ms).has_value(); }))
            << output();
    }
    /** The server's answer, when there is one within that time. */
    std::optional<aspn2_msgs::idl::CommandResponse> answerTo(const std::string& word,
                                                             std::chrono::milliseconds time) {
        const auto command = sibling->send(word);
        const auto deadline = bench::within(time);
        while (const auto arrival = sibling->next(deadline)) {
            if (bench::Sibling::answers(*arrival, command)) {
                return std::get<aspn2_msgs::idl::CommandResponse>(arrival->message);
            }
        }
        return std::nullopt;
    }

    std::optional<bench::Sibling> sibling;
};

TEST_F(Commands, EachKnownWordHasItsAnswer) {
    startAndJoin();
    const struct {
        const char* word;
        const char* answer;
        int timeCode;
    } cases[] = {
        {"SYSTEM_MODE_SELECT_SIMULATION", "SYSTEM_MODE_SELECT_SIMULATION_PASS", 101},
        {"BITSERVER_PING", "VGpsReceiverServer", 101},
        {"SYSTEM_MODE_SELECT_LIVE", "SYSTEM_MODE_SELECT_LIVE_PASS", 100},
        {"BITSERVER_PING", "VGpsReceiverServer", 100},
    };
    for (const auto& [word, text, timeCode] : cases) {
        SCOPED_TRACE(word);
        const auto answer = answerTo(word, patience);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->command_response(), text);
        EXPECT_EQ(ASPN2::serverIdOf(answer->header().device_id()), 46);
        EXPECT_EQ(answer->header().timestamp_valid().time_code(), timeCode);
    }
    for (const char* word : {"BITSERVER_PING,now", "bitserver_ping", "", "START_ZEROIZE "}) {
        EXPECT_FALSE(answerTo(word, 100ms)) << word;
    }
    EXPECT_TRUE(answerTo("BITSERVER_PING", patience));
    EXPECT_EQ(linesWith("Updating VDM rate"), 0);
}

/** Far more than the topic's history holds: some of the commands are thinned out on their way. */
TEST_F(Commands, AFloodLosesNoReportAndIsAnsweredInOrder) {
    startAndJoin();
    bus();
    constexpr int commands = 20000;
    auto flood = std::async(std::launch::async, [this] {
        for (int i = 0; i < commands; ++i) {
            sibling->send("BITSERVER_PING");
            if (i % 10 == 9) {
                std::this_thread::sleep_for(1ms);
            }
        }
    });
    int pairs = 0;
    while (flood.wait_for(0ms) != std::future_status::ready) {
        sendPair(++pairs);
        ASSERT_TRUE(statusAt(pairs)) << "pair " << pairs;
    }
    EXPECT_GT(pairs, 10);
    std::int64_t last = -1;
    int answers = 0;
    while (const auto arrival = sibling->next(bench::within(500ms))) {
        const auto* response = std::get_if<aspn2_msgs::idl::CommandResponse>(&arrival->message);
        if (arrival->topic == bench::Topic::Response && response != nullptr) {
            EXPECT_GT(response->header().seq_num(), last);
            last = response->header().seq_num();
            ++answers;
        }
    }
    EXPECT_GT(answers, 0);
    EXPECT_LE(last, commands + 100) << "no command is answered twice";
    EXPECT_TRUE(answerTo("BITSERVER_PING", patience));
}

TEST_F(Commands, ASanitizeWhileAZeroizeWaitsLetsItEnd) {
    for (const int sanitizes : {1, 2}) {
        SCOPED_TRACE(sanitizes);
        startAndJoin();
        bench::BusClient client(root.busSocket(), bench::within(patience));
        auto reply = std::async(std::launch::async, [&client] {
            return client.request(
                {{"request", "command"}, {"commands", {{{"name", 0}, {"type", 1}}}}},
                bench::within(patience));
        });
        const auto isZeroize = [](const bench::Arrival& arrival) {
            return arrival.topic == bench::Topic::Command &&
                   std::get<aspn2_msgs::idl::CommandResponse>(arrival.message).command_response() ==
                       "TYRN_CV_ZEROIZE";
        };
        ASSERT_TRUE(eventually([&] {
            const auto arrival = sibling->next(bench::within(10ms));
            return arrival && isZeroize(*arrival);
        }));
        for (int i = 0; i < sanitizes; ++i) {
            sibling->send(i == 0 ? "START_ZEROIZE" : "START_DESTROY");
            ASSERT_TRUE(eventually([&] { return linesWith("Updating VDM rate") == 1; }));
        }
        // Nobody answers: the wait ends by its own time-out, and only then can the service restart.
        EXPECT_TRUE(answerTo("BITSERVER_PING", 1s)) << "the topic is not held up";
        reply.wait();
        EXPECT_TRUE(eventually([&] { return linesWith(" : Restarting APNT.") == sanitizes; }))
            << output();
        const auto began = std::chrono::steady_clock::now();
        server->signal(SIGTERM);
        EXPECT_EQ(waitForEnd(), (Ending{.status = 0, .signal = {}}));
        EXPECT_LT(std::chrono::steady_clock::now() - began, 3s);
        sibling.reset();
    }
}

}  // namespace
