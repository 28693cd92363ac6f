#include "VICTORY/Utilities/VictoryFaultHelper.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>

#include "VICTORY/ServerFixture.h"
#include "bench/Descriptor.h"
#include "support/Eventually.h"

namespace {

std::vector<std::string> otherCalls;

}  // namespace

#define SERVICE_OF(T, prefix)                                                                   \
    struct T {};                                                                                \
    unsigned prefix##AddFault(T* service, const char* text, int acknowledged,                   \
                              VhlthcSeverity severity, VhlthcCategory category,                 \
                              VhlthcAction action) {                                            \
        otherCalls.push_back(utilities::concat(#prefix " ", service != nullptr, " ", text, " ", \
                                               acknowledged, " ", severity, " ", category, " ", \
                                               action));                                        \
        return 5;                                                                               \
    }                                                                                           \
    void prefix##RemoveFault(T*, unsigned id) {                                                 \
        otherCalls.push_back(utilities::concat(#prefix " removes ", id));                       \
    }
SERVICE_OF(VpossService, vposs)
SERVICE_OF(VorisService, voris)
SERVICE_OF(VdotsService, vdots)
SERVICE_OF(VgensService, vgens)
SERVICE_OF(VapntsService, vapnts)
#undef SERVICE_OF

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* fault = "Fake Fault for Compliance Testing ";

/** The modes of the other services. */
const struct {
    const char *key, *name, *text, *kind;
} otherModes[] = {{"p", "Position", "Changed to Position", "vposs"},
                  {"o", "Orientation", "Changed to Orientation", "voris"},
                  {"d", "Direction of Travel", "Changed to Direction of Travel", "vdots"},
                  {"e", "Generic End Node", "Generic End Node", "vgens"},
                  {"a", "APNT", "APNT", "vapnts"}};

/** A helper with the GPS service alone, as the server has it, its keys pressed one by one. */
class FaultHelper : public testing::Test {
protected:
    FaultHelper() {
        fake::reset();
        otherCalls.clear();
        service = vgpssNewService("", "", "", "", "");
        helper.SetAvailableService(service);
        fake::forget();
    }
    /** What the keys made it print. */
    std::string press(const std::string& keys) {
        const Captured output;
        for (const char key : keys) {
            helper.handleKey(key, tellDisabled);
        }
        return output.text();
    }

    VictoryFaultHelper helper{"Server"};
    VgpssService* service = nullptr;
    bool tellDisabled = false;
};

TEST_F(FaultHelper, EachDigitRaisesItsFaultAndClearsItAgain) {
    const char* const names[] = {"Emergency", "Alert", "Critical", "Error", "Warning"};
    for (int i = 0; i < 10; ++i) {
        const std::string key(1, "1234567890"[i]);
        const bool acknowledged = i < 5;
        const std::string words =
            (acknowledged ? "" : "non-") + std::string("acknowledged ") + names[i % 5];
        const std::string codes = std::to_string(acknowledged) + " " + std::to_string(37 - i % 5);
        fake::forget();
        EXPECT_EQ(press(key), "\bServerAdded " + words + " GPS Receiver Fault: 7\n");
        EXPECT_EQ(press(key), "\bServer Removed GPS Receiver fault: 7\n");
        EXPECT_THAT(fake::calls(),
                    ElementsAre("AddFault " + (fault + codes) + " 22 1", "RemoveFault 7"));
    }
}

TEST_F(FaultHelper, FaultThatCannotBeRaisedIsTriedAgain) {
    fake::with([](fake::Victory& victory) { victory.nextFault = 0; });
    EXPECT_THAT(press("1"), HasSubstr(" Fault: 0\n"));
    fake::with([](fake::Victory& victory) { victory.nextFault = 9; });
    EXPECT_THAT(press("1"), HasSubstr(" Fault: 9\n"));
    EXPECT_THAT(press("1"), HasSubstr("Removed GPS Receiver fault: 9\n"));
    EXPECT_THROW(helper.activateFault(10, true), std::out_of_range);
    EXPECT_THROW(helper.deactivateFault(-1), std::out_of_range);
}

TEST_F(FaultHelper, ModesOfServicesThatWereNotGivenAreRefused) {
    for (const auto& [key, name, text, kind] : otherModes) {
        EXPECT_EQ(press(key),
                  std::string("\nServer VictoryFaultHelper : CANNOT change fault test mode to ") +
                      name + " Service! Mode remains: GPS Receiver\n");
    }
    EXPECT_EQ(press("g"), "\nServer VictoryFaultHelper : GPS Receiver fault test mode\n");
    EXPECT_EQ(press("zz"),
              "\bServerTell disabled for GPS Receiver \n\bServerTell enabled for GPS Receiver \n");
    EXPECT_THAT(otherCalls, IsEmpty());

    VictoryFaultHelper none{"Server"};
    none.SetAvailableService<VgpssService>(nullptr);
    none.RenewService(service, 1);
    const Captured output;
    none.handleKey('g', tellDisabled);
    none.handleKey('1', tellDisabled);
    EXPECT_THAT(output.text(), HasSubstr("Mode remains: none.\n"));
    EXPECT_THAT(output.text(), HasSubstr(" none. Fault: 0\n"));
    EXPECT_THAT(fake::calls(), IsEmpty());
}

TEST_F(FaultHelper, EachModeActsOnItsOwnServiceAndKeepsItsFaults) {
    VpossService poss;
    VorisService oris;
    VdotsService dots;
    VgensService gens;
    VapntsService apnts;
    const auto give = [this](auto&... given) { (helper.SetAvailableService(&given), ...); };
    give(poss, oris, dots, gens, apnts);
    EXPECT_THAT(press("z"), HasSubstr("for GPS Receiver Position Orientation Direction of Travel "
                                      "Generic End Node APNT\n"));
    EXPECT_TRUE(tellDisabled);
    EXPECT_THAT(press("0"), HasSubstr(" APNT Fault: 5\n")) << "the service given last is selected";
    for (const auto& [key, name, text, kind] : otherModes) {
        otherCalls.clear();
        EXPECT_EQ(press(key),
                  std::string("\nServer VictoryFaultHelper : ") + text + " fault test mode\n");
        press("22");
        EXPECT_THAT(otherCalls, ElementsAre(std::string(kind) + " 1 " + fault + "1 36 22 1",
                                            std::string(kind) + " removes 5"));
    }
    otherCalls.clear();
    press("g1a0");
    EXPECT_THAT(otherCalls, ElementsAre("vapnts removes 5")) << "raised before the modes changed";
    EXPECT_THAT(press("g1"), HasSubstr("Removed GPS Receiver fault: 7\n"));
}

TEST_F(FaultHelper, ShowsItsKeysAndIgnoresOthers) {
    const std::string help = press("h");
    EXPECT_TRUE(help.starts_with("\nServer VictoryFaultHelper available keys:\n    1 = Send"));
    EXPECT_TRUE(help.ends_with("    z = Disable VICTORY service \"Tell\" output\n\n"));
    EXPECT_EQ(press("\n "), help + help);
    EXPECT_EQ(press(std::string("xPGZ!\x7f\t\r\xff\0", 10)), "");
    const Captured output;
    for (const int key : {EOF, 256, 1000000, -1000000}) {
        helper.handleKey(key, tellDisabled);
    }
    EXPECT_EQ(output.text(), "");
    EXPECT_THAT(fake::calls(), IsEmpty());
}

TEST_F(FaultHelper, NewServiceHasNoneOfTheFaultsOfBefore) {
    helper.RenewService(service, 1);
    press("1");
    helper.RenewService(service, 1);
    EXPECT_THAT(press("1"), HasSubstr("Removed"));
    press("1");
    helper.RenewService<VgpssService>(nullptr, 1);
    EXPECT_THAT(press("2"), HasSubstr(" Fault: 0\n")) << "the service is down";
    EXPECT_THAT(press("g"), HasSubstr("GPS Receiver fault test mode")) << "and still available";
    helper.RenewService(service, 2);
    EXPECT_THAT(press("1"), HasSubstr("Added acknowledged Emergency GPS Receiver Fault: 9\n"));
}

/** The server in test mode, with a pipe for its standard input. */
class FaultTestMode : public ServerFixture {
protected:
    using Requested = FACE::LCM::Halcyrine::RequestedState;

    FaultTestMode() : m_terminal(::dup(STDIN_FILENO)) {
        int ends[2] = {-1, -1};
        bench::checked(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), "a pipe for the keys");
        ::dup2(bench::Descriptor(ends[0]).get(), STDIN_FILENO);
        m_keys = bench::Descriptor(ends[1]);
        VGpsReceiverServer::faultTestPollMs = 0;
    }
    ~FaultTestMode() override {
        server.Stop();
        ::dup2(m_terminal.get(), STDIN_FILENO);
        VGpsReceiverServer::faultTestPollMs = 250;
    }
    FaultTestMode(const FaultTestMode&) = delete;
    FaultTestMode& operator=(const FaultTestMode&) = delete;

    void bringUpWith(const char* testMode) {
        ASSERT_EQ(configure({{"PARAM_2", testMode}}), FACE::RETURN_CODE_TYPE::NO_ERROR);
        // Without files of its own the unit has no transport and no devices; the service comes up.
        ReturnCode rc{};
        server.Framework_Connect(FACE::String(), rc);
        transition(Requested::START);
    }
    void type(const std::string& keys) const {
        ASSERT_EQ(::write(m_keys.get(), keys.data(), keys.size()),
                  static_cast<ssize_t>(keys.size()));
    }
    /** Waits until the library has seen as many calls of that name. */
    static bool sees(const std::string& name, std::size_t count) {
        return eventually([&] { return fake::calls(name).size() >= count; });
    }

private:
    const bench::Descriptor m_terminal;
    bench::Descriptor m_keys;
};

TEST_F(FaultTestMode, KeysAreTakenAgainAfterARestart) {
    bringUpWith("true");
    type("1");
    ASSERT_TRUE(sees("AddFault", 1));
    EXPECT_EQ(transition(Requested::STOP), FACE::RETURN_CODE_TYPE::NO_ERROR);
    type("2");
    EXPECT_EQ(transition(Requested::START), FACE::RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_TRUE(sees("AddFault", 2)) << "the thread starts anew, and ends with the server";
}

TEST_F(FaultTestMode, NoKeyReachesAServiceThatIsGone) {
    const Captured quiet;  // from before the thread that prints until it has ended
    bringUpWith("true");
    type(std::string(20000, '1'));
    for (int i = 0; i < 500; ++i) {
        server.ShutdownVictory();
        server.InitializeVictory("<again/>");
        std::this_thread::yield();
    }
    EXPECT_TRUE(sees("RemoveFault", 1));
    EXPECT_EQ(fake::snapshot().callsOnDeleted, 0);
    server.Stop();
}

TEST_F(FaultTestMode, OutsideItKeysAreLeftAlone) {
    bringUpWith("false");
    type("1");
    EXPECT_EQ(transition(Requested::STOP), FACE::RETURN_CODE_TYPE::NO_ERROR);
    char key = 0;
    EXPECT_EQ(::read(STDIN_FILENO, &key, 1), 1);
    EXPECT_EQ(key, '1');
}

}  // namespace
