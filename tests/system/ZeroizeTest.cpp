#include <future>

#include "system/SiblingUnit.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

constexpr const char* server1 = "VGpsReceiverServer";
constexpr const char* answered = "response ZeroizeServer to ";

class Zeroize : public SiblingUnit {
protected:
    using Warnings = std::vector<std::pair<int, std::string>>;

    Zeroize() { setTimeouts("1", "1"); }
    void setTimeouts(const char* request, const char* inProgress) {
        root.setParameter(bench::serverFile, server1, "PARAM_5", request);
        root.setParameter(bench::serverFile, server1, "PARAM_4", inProgress);
    }

    std::optional<nlohmann::json> ask() {
        return bus().request({{"request", "command"}, {"commands", {{{"name", 0}, {"type", 1}}}}},
                             bench::within(patience));
    }
    int zeroize() {
        const auto reply = ask();
        return reply ? reply->value("result", -1) : -1;
    }
    /** The warnings of the next report that has any. */
    Warnings nextWarnings() {
        const auto report = bus().next(
            [](const nlohmann::json& line) {
                return line.value("report", "") == "GPS_RECEIVER_STATUS_2" &&
                       !line["data"]["warnings"].empty();
            },
            bench::within(patience));
        Warnings found;
        for (const auto& warning : report ? (*report)["data"]["warnings"] : nlohmann::json()) {
            found.emplace_back(warning["messageId"], warning["customText"]);
        }
        return found;
    }
};

constexpr int passed = 2;
constexpr int failed = 3;
const std::string result = ": Clear data complete for command, TYRN_CV_ZEROIZE. Result was ";
const std::string unanswered =
    ": Request wait loop for clear data command, TYRN_CV_ZEROIZE, timed out after 1 seconds.";

/** How the siblings answer, the last of their answers, and what the client gets to see. */
struct Case {
    const char* rule;
    const char* lastAnswer;
    int result;
    int warning;
    std::string text;
};

const std::vector<Case> cases{
    {"pass", "_PASS", 0, passed, result + "TYRN_CV_ZEROIZE_PASS"},
    {"fail", "_FAIL", 0, failed, result + "TYRN_CV_ZEROIZE_FAIL"},
    {"nack 200", "_NACK", 1, failed,
     ": Received Nack. Clear data request command, TYRN_CV_ZEROIZE failed"},
    {"ack", "_ACK", 0, failed,
     ": Clear data command,  TYRN_CV_ZEROIZE, timed out after 1 seconds."},
    {"silence", nullptr, 1, failed, unanswered},
    {"late 500", "_PASS", 0, passed, result + "TYRN_CV_ZEROIZE_PASS"},
    {"late 1500", "_PASS", 1, failed, unanswered},
    {"twice", "_PASS", 0, passed, result + "TYRN_CV_ZEROIZE_PASS"},
    {"other-server", "_PASS", 1, failed, unanswered},
};

TEST_F(Zeroize, EndsAsTheSiblingsAnswer) {
    startAndJoin();
    for (const Case& wanted : cases) {
        SCOPED_TRACE(wanted.rule);
        siblings->answer(wanted.rule);
        const std::size_t from = siblings->end();
        EXPECT_EQ(zeroize(), wanted.result);
        EXPECT_TRUE(heardOnce(sent, ": TYRN_CV_ZEROIZE", from));
        // Exactly one warning: a second would come ahead of the next one's.
        EXPECT_THAT(nextWarnings(), ElementsAre(Pair(wanted.warning, server1 + wanted.text)));
        if (wanted.lastAnswer != nullptr) {
            ASSERT_TRUE(heard(answered, wanted.lastAnswer, from));
        }
    }
    EXPECT_TRUE(heard("event VGpsReceiverServer ERROR",
                      "VGpsReceiverServer: Ignoring TYRN_CV_ZEROIZE_ACK during state, Clear data "
                      "in-progress"));
}

TEST_F(Zeroize, ASecondRequestLeavesTheFirstAlone) {
    setTimeouts("1", "10");
    startAndJoin();
    siblings->answer("pass 0 2500");
    EXPECT_EQ(zeroize(), 0);
    EXPECT_EQ(zeroize(), 1);
    EXPECT_THAT(nextWarnings(),
                ElementsAre(Pair(failed,
                                 "VGpsReceiverServer: TYRN_CV_ZEROIZE ignored due to clear "
                                 "command, TYRN_CV_ZEROIZE, already started: Clear data "
                                 "in-progress")));
    EXPECT_THAT(nextWarnings(),
                ElementsAre(Pair(passed, server1 + result + "TYRN_CV_ZEROIZE_PASS")));
    EXPECT_TRUE(heardOnce(sent, ": TYRN_CV_ZEROIZE"));
}

TEST_F(Zeroize, ADeadSiblingEndsInTheTimeOut) {
    startAndJoin();
    siblings->answer("pass 0 5000");
    EXPECT_EQ(zeroize(), 0);
    siblings->process().signal(SIGKILL);
    EXPECT_THAT(nextWarnings(), ElementsAre(Pair(failed,
                                                 "VGpsReceiverServer: Clear data command,  "
                                                 "TYRN_CV_ZEROIZE, timed out after 1 seconds.")));
    EXPECT_EQ(zeroize(), 1) << "nobody answers any more, and the server goes on";
}

TEST_F(Zeroize, ASignalDuringTheWaitEndsTheServerInOrder) {
    setTimeouts("2", "1");
    startAndJoin();
    siblings->answer("silence");
    bus();
    auto reply = std::async(std::launch::async, [this] { return ask(); });
    ASSERT_TRUE(heard(sent, ": TYRN_CV_ZEROIZE"));
    server->signal(SIGTERM);
    EXPECT_EQ(waitForEnd(), (Ending{.status = 0, .signal = {}}));
    EXPECT_THAT(server->lines().back().text, HasSubstr(" has exited. Signal: 15"));
    EXPECT_FALSE(std::filesystem::exists(root.busSocket()));
}

TEST_F(Zeroize, OfTheSystemEndsTheReports) {
    startAndJoin();
    const std::string before = fileText(bench::vclFile);
    sendPair(1);
    ASSERT_TRUE(statusAt(1));

    siblings->send("START_ZEROIZE,now");  // no match: words are compared whole
    siblings->send("START_ZEROIZE");
    ASSERT_TRUE(eventually([this] { return bus().closed(); })) << output();
    EXPECT_EQ(linesWith(" : Updating VDM rate to 4294967295 milliseconds."), 1);
    bench::BusClient again(root.busSocket(), bench::within(patience));
    // The service asks once a second, and so far it lives; it tells nothing of these pairs.
    std::size_t asked = 0;
    while (asked < 3) {
        sendPair(2);
        const auto line =
            again.next([](const nlohmann::json& found) { return found.contains("report"); },
                       bench::within(patience));
        ASSERT_TRUE(line);
        EXPECT_NE((*line)["report"], "GPS_RECEIVER_STATUS");
        asked += (*line)["report"] == "GPS_RECEIVER_STATUS_2" ? 1 : 0;
    }
    const auto reply =
        again.request({{"request", "command"}, {"commands", {{{"name", 0}, {"type", 1}}}}},
                      bench::within(patience));
    ASSERT_TRUE(reply);
    EXPECT_EQ((*reply)["result"], 1);
    EXPECT_TRUE(heard("event VGpsReceiverServer WARNING",
                      "VGpsReceiverServer: Sanitize in progress, not processing set command"));
    EXPECT_EQ(siblings->count(sent, ": TYRN_CV_ZEROIZE"), 0U);
    EXPECT_EQ(fileText(bench::vclFile), before);
}

TEST_F(Zeroize, TwoServersShareTheTopics) {
    bench::DeviceRoot otherRoot;
    bench::FpgaFile otherFpga(otherRoot);
    bench::ReceiverPorts otherReceiver(otherRoot);
    otherRoot.setParameter(bench::connectionsFile, "FastRtps", "DomainId", std::to_string(domain));
    startAndJoin();
    // What the server said at its start has come as well.
    EXPECT_TRUE(heard("event VGpsReceiverServer info: //aspn://Zarvok/VGpsReceiverServer:", "Z/"));
    EXPECT_TRUE(
        heard("event VGpsReceiverServer info: VGpsReceiverServer QPN: 510-4417-200B  ", ""));

    bench::ServerProcess other({SERVER_PROGRAM,
                                {bench::DeviceRoot::serverArgument()},
                                {{"HALCYRINE_ROOT", otherRoot.path().string()}}});
    // The answers to one ping are told apart by their senders alone: the same line, twice.
    const auto bothAnswered = [this] {
        std::map<std::string, int> answers;
        for (const auto& line : siblings->process().lines()) {
            if (line.text.starts_with("response VGpsReceiverServer to ZeroizeServer #") &&
                ++answers[line.text] == 2) {
                return true;
            }
        }
        return false;
    };
    EXPECT_TRUE(eventually([&] {
        siblings->send("BITSERVER_PING");
        const auto until = bench::within(300ms);
        while (!bothAnswered() && std::chrono::steady_clock::now() < until) {
            std::this_thread::sleep_for(1ms);
        }
        return bothAnswered();
    }));
}

TEST_F(Zeroize, TheToolTellsWhetherItWasAnswered) {
    startAndJoin();
    siblings.reset();
    const auto ping = [](const std::string& file, const char* wait, const char* answers) {
        bench::ServerProcess tool({aspnctl,
                                   {"--connections", file, "send", "BITSERVER_PING", "--wait", wait,
                                    "--answers", answers},
                                   {}});
        const auto ending = tool.wait(bench::within(patience));
        return ending ? ending->status : std::nullopt;
    };
    const std::string file = root.configFile(bench::connectionsFile);
    EXPECT_EQ(ping(file, "10", "1"), 0);
    EXPECT_EQ(ping(file, "0.3", "2"), 1) << "there is no second server";
    EXPECT_EQ(ping(file + "x", "1", "1"), 2);
}

}  // namespace
