#include "VICTORY/Utilities/ClearDataCommand.h"

#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "ASPN/Seed.h"
#include "VICTORY/ServerFixture.h"
#include "support/Eventually.h"

namespace {

using Type = ClearDataCommand::ClearDataType;

constexpr Type zeroize = ClearDataCommand::ClearDataCvZeroize;

/** What the machine tells its owner at an end. */
struct Report {
    Type type;
    bool pass;
    std::string text;
    bool operator==(const Report&) const = default;
};

/** The waits and what ends them are the system tests'; here replies come before the wait begins. */
class ClearData : public testing::Test {
protected:
    ClearData() {
        machine.setClearDataRequestTimeout(1);
        machine.setClearDataInProgressTimeout(3600);
        machine.setCommandResponseMessageCallback([this](const std::string& text) {
            ++sent;
            return reply(text + answer);
        });
        machine.setSendVDBCompleteWarningCallback(
            [this](Type type, bool pass, const std::string& text) {
                reports.push_back({type, pass, text});
                return true;
            });
    }

    /** A reply as the topic's listener hands it in. */
    bool reply(const std::string& text) {
        return machine.processClearRequestedResponse(text) ||
               machine.processClearCompletedResponse(text);
    }

    std::string answer = "_ACK";
    int sent = 0;
    std::vector<Report> reports;
    ClearDataCommand machine{"Server"};
};

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
        EXPECT_TRUE(machine.processClearDataRequestType(row.type));
        EXPECT_FALSE(reply(std::string(row.command) + "_PASS"));
        EXPECT_TRUE(reply(std::string(row.stem) + "_PASS"));
        EXPECT_FALSE(reply(std::string(row.stem) + "_PASS")) << "a late reply is nobody's";
    }
}

TEST_F(ClearData, RefusalBeforeTheWaitLetsTheRequestPass) {
    answer = "_NACK";
    EXPECT_TRUE(machine.processClearDataRequestType(zeroize));
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(ClearData, ASecondRequestIsRefusedAndDisturbsNothing) {
    EXPECT_TRUE(machine.processClearDataRequestType(zeroize));
    EXPECT_FALSE(machine.processClearDataRequestType(ClearDataCommand::ClearDataDestroy));
    EXPECT_THAT(reports, testing::ElementsAre(
                             Report{zeroize, false,
                                    "Server: REQUEST_DESTROY ignored due to clear command, "
                                    "TYRN_CV_ZEROIZE, already started: Clear data in-progress"}));
    EXPECT_EQ(sent, 1);
    EXPECT_TRUE(reply("TYRN_CV_ZEROIZE_PASS"));
}

TEST_F(ClearData, NothingStartsWithoutAKnownTypeOrASentCommand) {
    EXPECT_FALSE(machine.processClearDataRequestType(ClearDataCommand::ClearDataNone));
    EXPECT_FALSE(machine.processClearDataRequestType(static_cast<Type>(9)));
    EXPECT_FALSE(machine.processClearDataRequestType(static_cast<Type>(-1)));
    EXPECT_EQ(sent, 0);
    answer = "_that nobody knows, so that the sending fails";
    EXPECT_FALSE(machine.processClearDataRequestType(zeroize));
    EXPECT_TRUE(reports.empty());
    answer = "_ACK";
    EXPECT_TRUE(machine.processClearDataRequestType(zeroize));
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
    EXPECT_TRUE(machine.processClearDataRequestType(zeroize));
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
    const unsigned seed = testSeed();
    std::vector<std::jthread> siblings;
    for (unsigned i = 0; i < 2; ++i) {
        siblings.emplace_back(
            [this, random = std::mt19937(seed + i)](const std::stop_token& stop) mutable {
                constexpr const char* suffixes[] = {"_ACK", "_NACK", "_PASS", "_FAIL"};
                while (!stop.stop_requested()) {
                    reply(std::string("TYRN_CV_ZEROIZE") + suffixes[random() % 4]);
                }
            });
    }
    std::vector<std::jthread> clients(3);
    for (std::jthread& client : clients) {
        client = std::jthread([this] {
            for (int k = 0; k < 200; ++k) {
                machine.processClearDataRequestType(zeroize);
            }
        });
    }
    clients.clear();
    EXPECT_TRUE(eventually([&] { return ended == begun; }));
    siblings.clear();
    EXPECT_GT(begun, 0);
}

}  // namespace
