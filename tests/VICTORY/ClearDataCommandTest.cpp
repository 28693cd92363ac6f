#include "VICTORY/Utilities/ClearDataCommand.h"

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "VICTORY/ServerFixture.h"
#include "support/Eventually.h"
#include "utilities/Mutex.h"

namespace {

using namespace std::chrono_literals;
using Type = ClearDataCommand::ClearDataType;

/** What the machine tells its owner at an end. */
struct Report {
    Type type;
    bool pass;
    std::string text;
    bool operator==(const Report&) const = default;
};

class ClearData : public testing::Test {
protected:
    ClearData() {
        machine.setClearDataRequestTimeout(1);
        machine.setClearDataInProgressTimeout(3600);
        machine.setCommandResponseMessageCallback([this](const std::string& text) {
            const utilities::MutexLock lock(m_mutex);
            m_sent.push_back(text);
            return sends;
        });
        machine.setSendVDBCompleteWarningCallback(
            [this](Type type, bool pass, const std::string& text) {
                const utilities::MutexLock lock(m_mutex);
                m_reports.push_back({type, pass, text});
                return true;
            });
    }

    std::vector<std::string> sent() {
        const utilities::MutexLock lock(m_mutex);
        return m_sent;
    }
    std::vector<Report> reports() {
        const utilities::MutexLock lock(m_mutex);
        return m_reports;
    }
    /** Waits until so many commands went out or reports came in. */
    void waitFor(std::size_t commands, std::size_t reports) {
        ASSERT_TRUE(eventually(
            [&] { return sent().size() >= commands && this->reports().size() >= reports; }));
    }
    /** This one end of a zeroize, not passed, has been reported and no other. */
    void expectFailure(const std::string& text) {
        EXPECT_THAT(reports(), testing::ElementsAre(
                                   Report{ClearDataCommand::ClearDataCvZeroize, false, text}));
    }
    /** A reply as the topic's listener hands it in. */
    bool reply(const std::string& text) {
        return machine.processClearRequestedResponse(text) ||
               machine.processClearCompletedResponse(text);
    }
    /** A request on a thread of its own, and the ACK for it. */
    void requestAndAcknowledge() {
        std::thread peer([this, commands = sent().size() + 1] {
            waitFor(commands, 0);
            while (!reply("TYRN_CV_ZEROIZE_ACK")) {
                std::this_thread::yield();
            }
        });
        EXPECT_TRUE(machine.processClearDataRequestType(ClearDataCommand::ClearDataCvZeroize));
        peer.join();
    }

    bool sends = true;
    ClearDataCommand machine{"Server"};

private:
    utilities::Mutex m_mutex;
    std::vector<std::string> m_sent GUARDED_BY(m_mutex);
    std::vector<Report> m_reports GUARDED_BY(m_mutex);
};

constexpr Type zeroize = ClearDataCommand::ClearDataCvZeroize;

TEST_F(ClearData, PassAndFailEndTheOperation) {
    for (const auto& [suffix, pass] : {std::pair{"_PASS", true}, std::pair{"_FAIL", false}}) {
        requestAndAcknowledge();
        const std::string response = std::string("TYRN_CV_ZEROIZE") + suffix;
        EXPECT_TRUE(reply(response));
        EXPECT_EQ(reports().back(),
                  (Report{zeroize, pass,
                          "Server: Clear data complete for command, TYRN_CV_ZEROIZE. Result was " +
                              response}));
        EXPECT_FALSE(reply(response)) << "a late reply is nobody's";
    }
    EXPECT_EQ(reports().size(), 2U);
}

TEST_F(ClearData, EachTypeHasItsOwnWords) {
    const struct {
        Type type;
        const char *command, *stem;
    } rows[] = {{ClearDataCommand::ClearDataZeroize, "REQUEST_ZEROIZE", "SYSTEM_ZEROIZE"},
                {ClearDataCommand::ClearDataDestroy, "REQUEST_DESTROY", "SYSTEM_DESTROY"}};
    for (const auto& row : rows) {
        machine.setCommandResponseMessageCallback([&](const std::string& text) {
            EXPECT_EQ(text, row.command);
            EXPECT_FALSE(reply(text + "_ack"));
            EXPECT_FALSE(reply(text + "_ACKx"));
            return reply(text + "_ACK");
        });
        // The answer came before the wait began.
        EXPECT_TRUE(machine.processClearDataRequestType(row.type));
        EXPECT_FALSE(reply(std::string(row.command) + "_PASS"));
        EXPECT_TRUE(reply(std::string(row.stem) + "_PASS"));
    }
}

TEST_F(ClearData, RefusalWhileWaitingIsReportedOnce) {
    std::thread peer([this] {
        waitFor(1, 0);
        // A wait that has begun: the answer of before it would let the request pass.
        std::this_thread::sleep_for(200ms);
        EXPECT_TRUE(reply("TYRN_CV_ZEROIZE_NACK"));
    });
    EXPECT_FALSE(machine.processClearDataRequestType(zeroize));
    peer.join();
    expectFailure("Server: Received Nack. Clear data request command, TYRN_CV_ZEROIZE failed");
}

TEST_F(ClearData, RefusalBeforeTheWaitLetsTheRequestPass) {
    machine.setCommandResponseMessageCallback(
        [this](const std::string& text) { return reply(text + "_NACK"); });
    EXPECT_TRUE(machine.processClearDataRequestType(zeroize));
    EXPECT_EQ(reports().size(), 1U);
}

TEST_F(ClearData, SilenceEndsTheRequestInItsTimeout) {
    EXPECT_FALSE(machine.processClearDataRequestType(zeroize));
    expectFailure(
        "Server: Request wait loop for clear data command, "
        "TYRN_CV_ZEROIZE, timed out after 1 seconds.");
    EXPECT_FALSE(reply("TYRN_CV_ZEROIZE_ACK")) << "too late";
    requestAndAcknowledge();
}

TEST_F(ClearData, AnAcknowledgedOperationEndsInItsOwnTimeout) {
    machine.setClearDataInProgressTimeout(0);
    requestAndAcknowledge();
    waitFor(0, 1);
    expectFailure(
        "Server: Clear data command,  TYRN_CV_ZEROIZE, timed out after 0 "
        "seconds.");
}

TEST_F(ClearData, ASecondRequestIsRefusedAndDisturbsNothing) {
    requestAndAcknowledge();
    EXPECT_FALSE(machine.processClearDataRequestType(ClearDataCommand::ClearDataDestroy));
    expectFailure(
        "Server: REQUEST_DESTROY ignored due to clear command, "
        "TYRN_CV_ZEROIZE, already started: Clear data in-progress");
    EXPECT_EQ(sent().size(), 1U);
    EXPECT_TRUE(reply("TYRN_CV_ZEROIZE_PASS"));
}

TEST_F(ClearData, NothingStartsWithoutAKnownTypeOrASentCommand) {
    EXPECT_FALSE(machine.processClearDataRequestType(ClearDataCommand::ClearDataNone));
    EXPECT_FALSE(machine.processClearDataRequestType(static_cast<Type>(9)));
    EXPECT_FALSE(machine.processClearDataRequestType(static_cast<Type>(-1)));
    EXPECT_TRUE(sent().empty());
    sends = false;
    EXPECT_FALSE(machine.processClearDataRequestType(zeroize));
    EXPECT_TRUE(reports().empty());
    sends = true;
    requestAndAcknowledge();
}

TEST_F(ClearData, RepliesOutOfTurnAreIgnoredAloud) {
    const Captured output;
    EXPECT_FALSE(reply("none_ACK"));
    EXPECT_THAT(output.text(), testing::HasSubstr("Server: Ignoring none_ACK during state, Idle"));
    machine.setCommandResponseMessageCallback([this](const std::string& text) {
        EXPECT_FALSE(reply(text + "_PASS")) << "not before the ACK";
        return reply(text + "_ACK") && !reply(text + "_ACK");
    });
    EXPECT_TRUE(machine.processClearDataRequestType(zeroize));
    EXPECT_THAT(output.text(), testing::HasSubstr("Server: Ignoring TYRN_CV_ZEROIZE_ACK during "
                                                  "state, Clear data in-progress"));
    EXPECT_TRUE(reply("TYRN_CV_ZEROIZE_PASS"));
}

TEST_F(ClearData, AThrowingOwnerLeavesTheOperationAsItStood) {
    requestAndAcknowledge();
    machine.setSendVDBCompleteWarningCallback(
        [](Type, bool, const std::string&) -> bool { throw std::runtime_error("no"); });
    const Captured output;
    EXPECT_FALSE(reply("TYRN_CV_ZEROIZE_PASS"));
    EXPECT_THAT(output.text(), testing::HasSubstr("Server: An exception occurred. Details: no"));
    machine.setSendVDBCompleteWarningCallback([](Type, bool, const std::string&) { return true; });
    EXPECT_TRUE(reply("TYRN_CV_ZEROIZE_PASS"));
}

/** Requests and replies from several threads, in any order: each operation that went out ends with
 *  one report that is not a refusal, and the machine is free at the end. */
TEST_F(ClearData, AnyMeetingOfRequestsAndRepliesEndsEachOperationOnce) {
    machine.setClearDataInProgressTimeout(0);
    std::atomic<int> begun{0};
    std::atomic<int> ended{0};
    machine.setCommandResponseMessageCallback([&](const std::string&) {
        ++begun;
        return true;
    });
    machine.setSendVDBCompleteWarningCallback([&](Type, bool, const std::string& text) {
        if (text.find(" ignored due to ") == std::string::npos) {
            ++ended;
        }
        return true;
    });
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    const auto seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    for (unsigned i = 0; i < 2; ++i) {
        threads.emplace_back([&, i] {
            std::mt19937 random(seed + i);
            constexpr const char* suffixes[] = {"_ACK", "_NACK", "_PASS", "_FAIL"};
            while (!stop) {
                reply(std::string("TYRN_CV_ZEROIZE") + suffixes[random() % 4]);
            }
        });
    }
    std::vector<std::thread> clients;
    for (int i = 0; i < 3; ++i) {
        clients.emplace_back([&] {
            for (int k = 0; k < 200; ++k) {
                machine.processClearDataRequestType(zeroize);
            }
        });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    EXPECT_TRUE(eventually([&] { return ended == begun; }));
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_GT(begun, 0);
}

}  // namespace
