#include <filesystem>

#include "system/Unit.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class LifeCycle : public Unit {};

TEST_F(LifeCycle, WrongArgumentCountPrintsTheUsage) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{}, {"a", "b"}}) {
        launch(arguments);
        EXPECT_EQ(waitForEnd(), (Ending{.status = 1, .signal = {}}));
        EXPECT_EQ(output(),
                  std::string("Usage: ") + SERVER_PROGRAM + " <top-level-config-file> \n");
    }
}

class EndingSignal : public LifeCycle, public testing::WithParamInterface<int> {};

TEST_P(EndingSignal, ComesDownInOrder) {
    startAndRun();
    bus();
    server->signal(GetParam());
    EXPECT_EQ(waitForEnd(), (Ending{.status = 0, .signal = {}}));
    EXPECT_EQ(server->lines().back().text,
              std::string("!!!!!! ") + SERVER_PROGRAM +
                  " has exited. Signal: " + std::to_string(GetParam()));
    EXPECT_FALSE(std::filesystem::exists(root.busSocket()));
}

INSTANTIATE_TEST_SUITE_P(All, EndingSignal,
                         testing::Values(SIGQUIT, SIGILL, SIGABRT, SIGBUS, SIGTERM, SIGTRAP, SIGSYS,
                                         SIGFPE, SIGINT));

TEST_F(LifeCycle, SegmentationFaultKeepsItsDefaultAction) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the thread sanitizer holds such a signal back";
#endif
    startAndRun();
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_FALSE(catches(SIGSEGV)) << "the sanitizers' own handler aside, there is none";
#endif
    server->signal(SIGSEGV);
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(output(), Not(HasSubstr("has exited")));
}

TEST_F(LifeCycle, StartsAgainAfterBeingKilled) {
    startAndRun();
    bus();
    server->signal(SIGKILL);
    ASSERT_TRUE(waitForEnd());
    startAndRun();
    server->signal(SIGTERM);
    EXPECT_EQ(waitForEnd(), (Ending{.status = 0, .signal = {}})) << output();
}

TEST_F(LifeCycle, PinsItselfAndShowsTheParametersInForce) {
    for (const auto& [name, value] : {std::pair{"CPU", "1"},
                                      {"Debug", "tRuE"},
                                      {"PARAM_3", "0x127"},
                                      {"PARAM_4", "010"},
                                      {"PARAM_5", "no number"}}) {
        root.setParameter(bench::serverFile, "VGpsReceiverServer", name, value);
    }
    startAndRun();
    EXPECT_THAT(output(),
                HasSubstr("VGpsReceiverServer: configuration parameters:  m_debug = 1, priority = "
                          "0, cpu = 1, m_quiet = 1, m_testMode = 0, m_gssipSourceServerId = 39, "
                          "m_clearDataInProgressTimeoutSeconds = 8, "
                          "m_clearDataRequestTimeoutSeconds = 0\n"));
    EXPECT_THAT(output(), HasSubstr("Has CPU Affinity for CPU1\n"
                                    "Successfully set VGpsReceiverServer: cpu affinity to 1\n"));
    EXPECT_EQ(linesWith("Has CPU Affinity"), 1);
}

using Harm = std::function<void(bench::DeviceRoot&, bench::FpgaFile&)>;
using Lines = std::vector<std::string>;

/** A unit that can't come up: what is done to it, lines that the server must print for it in their
 *  order, and the guard that ends it. */
struct Failure {
    std::string name;
    Harm harm;
    Lines lines;
    const char* guard;
};

Harm withText(const char* file, const std::string& text) {
    return [=](bench::DeviceRoot& root, bench::FpgaFile&) {
        std::ofstream(root.configFile(file), std::ios::trunc) << text;
    };
}
Harm with(const std::string& parameter, const std::string& value) {
    return [=](bench::DeviceRoot& root, bench::FpgaFile&) {
        root.setParameter(bench::serverFile, "VGpsReceiverServer", parameter, value);
    };
}
Harm withoutFile(const std::string& path) {
    return [=](bench::DeviceRoot& root, bench::FpgaFile&) {
        std::filesystem::remove(root.file(path));
    };
}
Harm withoutContainer(const char* file, const std::string& container) {
    return
        [=](bench::DeviceRoot& root, bench::FpgaFile&) { root.removeContainer(file, container); };
}
Harm without(const char* file, const std::string& container, const std::string& parameter) {
    return [=](bench::DeviceRoot& root, bench::FpgaFile&) {
        root.removeParameter(file, container, parameter);
    };
}
void cutServerFile(bench::DeviceRoot& root, bench::FpgaFile&) {
    const auto file = root.configFile(bench::serverFile);
    std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
}
void setWrongClockRate(bench::DeviceRoot&, bench::FpgaFile& fpga) {
    fpga.write(bench::FpgaFile::ClockRate, 58982401);
}

const std::string config = "/opt/halcyrine/config/";
constexpr const char* noConfigure = "Configure() failed";
constexpr const char* noConnect = "Framework_Connect() failed";

const Failure otherFailures[] = {
    {"FileMissing", withoutFile(config + bench::serverFile), {}, noConfigure},
    {"FileEmpty", withText(bench::serverFile, ""), {}, noConfigure},
    {"FileTruncated", cutServerFile, {}, noConfigure},
    {"OtherRoot",
     withText(bench::serverFile, "<Other/>"),
     {"Configuration XML - " + bench::DeviceRoot::serverArgument() +
      " Error: Unable to locate the HC_Configurations object"},
     noConfigure},
    {"SystemMissing",
     without(bench::serverFile, "Halcyrine", "System"),
     {"WARNING - Parameter System not found"},
     noConfigure},
    {"ConfigurationMissing",
     without(bench::serverFile, "Halcyrine", "Configuration"),
     {"WARNING - Parameter Configuration not found"},
     noConfigure},
    {"SystemContainerMissing", withoutContainer(bench::serverFile, "Halcyrine"), {}, noConfigure},
    {"ServerContainerMissing",
     withoutContainer(bench::serverFile, "VGpsReceiverServer"),
     {},
     noConfigure},
    // Cut to 8 bits it is processor 0, which there is none of.
    {"CpuAbsurd",
     with("CPU", "256"),
     {"FAILED to set VGpsReceiverServer: cpu affinity to 256"},
     noConfigure},
    {"DevicesFileMissing", withoutFile(config + bench::ioDevicesFile), {}, noConnect},
    {"ChannelMissing", withoutContainer(bench::ioDevicesFile, "DT_IN"), {}, noConnect},
    {"PortMissing",
     without(bench::ioDevicesFile, "TYR_HC", "Port"),
     {"WARNING - Parameter Port not found"},
     noConnect},
    {"QueueDeviceMissing",
     withoutFile("/dev/mcs1"),
     {"Unable to open output pipe file: /dev/mcs1"},
     noConnect},
    {"VictoryFileMissing",
     withoutFile(config + bench::vclFile),
     {"VGpsReceiverServer Error reading VICTORY GPS Receiver configuration file."},
     noConnect},
    {"VictoryFileBroken", withText(bench::serviceFile, "<broken"), {}, noConnect},
    // These end by the FPGA's own guard.
    {"RegisterBlockMissing",
     withoutContainer(bench::ioDevicesFile, "PpsSlave_Interface"),
     {},
     "FpgaFace() FAILED to open PPS Slave interface"},
    {"MemoryDeviceMissing",
     withoutFile("/dev/mem"),
     {},
     "FpgaFace() FAILED to read FPGA number of UARTs"},
    {"ClockRateWrong",
     setWrongClockRate,
     {},
     "INVALID_MODE FpgaFace() FPGA clock rate mismatch, got 58982401, expected 58982400"},
};

const std::pair<std::string, std::string> serverParameters[] = {
    {"Connections", "Connections file"},
    {"IODevices", "Devices file"},
    {"Debug", "debug flag"},
    {"PRI", "process priority"},
    {"CPU", "CPU value"},
    {"PARAM_1", "quiet flag"},
    {"PARAM_2", "testMode flag"},
    {"PARAM_3", "gssip source server ID"},
    {"PARAM_4", "clear data (zeroize saas keys) overall completion timeout seconds"},
    {"PARAM_5", "clear data (zeroize saas keys) request timeout seconds"}};

/** The others, and each parameter of the server missing, and each empty: it and all behind it are
 *  named. */
std::vector<Failure> allFailures() {
    std::vector<Failure> failures(std::begin(otherFailures), std::end(otherFailures));
    Lines lines{"): VGpsReceiverServer: GetConfigParameters error"};
    for (auto row = std::rbegin(serverParameters); row != std::rend(serverParameters); ++row) {
        const std::string& name = row->first;
        lines.insert(lines.begin(), ") GetConfigParameters : error or could not find setting, " +
                                        name + " (" + row->second + ") in configuration file!");
        Lines all = lines;
        all.insert(all.begin(), "WARNING - Parameter " + name + " not found");
        failures.push_back({name + "Missing",
                            without(bench::serverFile, "VGpsReceiverServer", name), all,
                            noConfigure});
        failures.push_back({name + "Empty", with(name, ""), all, noConfigure});
    }
    return failures;
}

class FailedStart : public LifeCycle, public testing::WithParamInterface<Failure> {};

TEST_P(FailedStart, SaysWhyAndEndsWithAFailure) {
    GetParam().harm(root, fpga);
    start();
    const auto ending = waitForEnd();
    ASSERT_TRUE(ending && ending->status) << "no orderly end";
    EXPECT_NE(*ending->status, 0);
    std::size_t from = 0;
    for (const std::string& line : GetParam().lines) {
        const auto found = server->waitForLine(line, bench::within(0ms), from);
        ASSERT_TRUE(found) << line << "\nnot found in order in\n" << output();
        from = *found + 1;
    }
    EXPECT_THAT(output(), HasSubstr(GetParam().guard));
    EXPECT_THAT(output(), Not(HasSubstr("has exited")));
    EXPECT_FALSE(std::filesystem::exists(root.busSocket()));
}

INSTANTIATE_TEST_SUITE_P(Each, FailedStart, testing::ValuesIn(allFailures()),
                         [](const auto& failure) { return failure.param.name; });

}  // namespace
