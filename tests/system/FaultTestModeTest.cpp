#include "system/Unit.h"

namespace {

constexpr const char* name = "VGpsReceiverServer";

/** The server in test mode, at a terminal or at what is none. */
class FaultTestMode : public Unit {
protected:
    FaultTestMode() { root.setParameter(bench::serverFile, name, "PARAM_2", "true"); }

    void startAt(bool terminal) {
        launch({root.serverArgument()}, terminal);
        ASSERT_TRUE(eventually([this] { return catches(SIGTERM); })) << output();
        bus();
    }
    /** The faults that the bus shows next. */
    std::optional<nlohmann::json> nextFaults() {
        const auto report = bus().next("GPS_RECEIVER_FAULTS", bench::within(patience));
        return report ? std::optional((*report)["data"]["faults"]) : std::nullopt;
    }
    void expectLifeAndEnd() {
        sendPair(77);
        EXPECT_TRUE(statusAt(77)) << output();
        EXPECT_LT(busyFor(500ms), 0.5) << "of one processor";
        server->signal(SIGTERM);
        EXPECT_EQ(waitForEnd(), (Ending{.status = 0, .signal = {}})) << output();
    }
    /** The share of a processor that the server takes during that time. */
    double busyFor(std::chrono::milliseconds time) const {
        const auto ticks = [this] {
            std::ifstream file("/proc/" + std::to_string(server->pid()) + "/stat");
            std::string text{std::istreambuf_iterator<char>(file), {}};
            std::istringstream fields(text.substr(text.rfind(')') + 1));
            std::string skipped;
            for (int i = 0; i < 11; ++i) {
                fields >> skipped;
            }
            double user = 0;
            double system = 0;
            fields >> user >> system;
            return user + system;
        };
        const double before = ticks();
        const auto end = bench::within(time);
        while (std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(10ms);
        }
        const double seconds = (ticks() - before) / static_cast<double>(::sysconf(_SC_CLK_TCK));
        return seconds / std::chrono::duration<double>(time).count();
    }
};

TEST_F(FaultTestMode, KeysOfATerminalWork) {
    startAt(true);
    EXPECT_EQ(nextFaults(), nlohmann::json::array());
    server->type("1");
    const auto raised = nextFaults();
    ASSERT_TRUE(raised && raised->size() == 1) << output();
    EXPECT_EQ((*raised)[0]["text"], "Fake Fault for Compliance Testing");
    EXPECT_EQ((*raised)[0]["severity"], 37);
    EXPECT_EQ((*raised)[0]["category"], 22);
    server->type("1");
    EXPECT_EQ(nextFaults(), nlohmann::json::array());
    // The bus is told first, the console after.
    EXPECT_TRUE(server->waitForLine(" Removed GPS Receiver fault: ", bench::within(patience)));
    EXPECT_EQ(linesWith("Added acknowledged Emergency GPS Receiver Fault: "), 1);
    EXPECT_EQ(linesWith(" Removed GPS Receiver fault: "), 1);

    sendPair(1);
    ASSERT_TRUE(statusAt(1));
    server->type("zph");
    ASSERT_TRUE(server->waitForLine("z = Disable VICTORY service", bench::within(patience)));
    EXPECT_EQ(linesWith("Tell disabled for GPS Receiver "), 1);
    EXPECT_EQ(linesWith("CANNOT change fault test mode to Position Service! Mode remains: GPS "
                        "Receiver"),
              1);
    sendPair(2);
    server->type("z");
    ASSERT_TRUE(server->waitForLine("Tell enabled for GPS Receiver", bench::within(patience)));
    sendPair(3);
    const auto next = bus().next("GPS_RECEIVER_STATUS", bench::within(patience));
    ASSERT_TRUE(next);
    EXPECT_EQ((*next)["data"]["receiverTime"], 3) << "that of 2 was silenced";
    expectLifeAndEnd();
}

TEST_F(FaultTestMode, FloodOfKeysIsTakenOneAtATime) {
    startAt(true);
    const std::string keys(100000, '1');
    std::size_t typed = 0;
    while (linesWith(" Removed GPS Receiver fault: ") < 2) {
        ASSERT_TRUE(eventually([&, wanted = server->lines().size() + 1] {
            typed += server->type(std::string_view(keys).substr(typed));
            return server->lines().size() >= wanted;
        })) << output();
    }
    expectLifeAndEnd();
}

TEST_F(FaultTestMode, TerminalThatHangsUpAndInputThatEndsAreNoFaults) {
    for (const bool terminal : {true, false}) {
        startAt(terminal);
        server->type("16");
        ASSERT_TRUE(
            server->waitForLine("Added non-acknowledged Emergency", bench::within(patience)));
        server->closeInput();
        expectLifeAndEnd();
    }
}

}  // namespace
