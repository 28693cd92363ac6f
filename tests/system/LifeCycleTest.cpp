#include <filesystem>

#include "system/Unit.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class LifeCycle : public Unit {};

TEST_F(LifeCycle, WrongArgumentCountPrintsTheUsage) {
    const std::vector<std::vector<std::string>> counts{{}, {"a", "b"}};
    for (const auto& arguments : counts) {
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

TEST_F(LifeCycle, PinsItselfToTheProcessorAskedFor) {
    root.setParameter(bench::serverFile, "VGpsReceiverServer", "CPU", "1");
    startAndRun();
    EXPECT_THAT(output(), HasSubstr("Has CPU Affinity for CPU1\n"
                                    "Successfully set VGpsReceiverServer: cpu affinity to 1\n"));
    EXPECT_EQ(linesWith("Has CPU Affinity"), 1);
}

TEST_F(LifeCycle, DebugShowsTheParametersInForce) {
    root.setParameter(bench::serverFile, "VGpsReceiverServer", "Debug", "tRuE");
    root.setParameter(bench::serverFile, "VGpsReceiverServer", "PARAM_3", "0x127");
    root.setParameter(bench::serverFile, "VGpsReceiverServer", "PARAM_4", "010");
    root.setParameter(bench::serverFile, "VGpsReceiverServer", "PARAM_5", "no number");
    startAndRun();
    EXPECT_THAT(output(),
                HasSubstr("VGpsReceiverServer: configuration parameters:  m_debug = 1, priority = "
                          "0, cpu = 0, m_quiet = 1, m_testMode = 0, m_gssipSourceServerId = 39, "
                          "m_clearDataInProgressTimeoutSeconds = 8, "
                          "m_clearDataRequestTimeoutSeconds = 0\n"));
}

/** A unit that can't come up: what is done to it, and lines that the server must print for it. */
struct Failure {
    std::string name;
    std::function<void(bench::DeviceRoot&, bench::FpgaFile&)> harm;
    std::vector<std::string> lines;
    std::string guard;
};

void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path, std::ios::trunc) << text;
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

const std::vector<std::pair<std::string, std::string>> serverParameters{
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

/** Each parameter of the server missing, and each empty: it and all behind it are named. */
void addParameterFailures(std::vector<Failure>& failures) {
    for (std::size_t i = 0; i < serverParameters.size(); ++i) {
        const std::string name = serverParameters[i].first;
        std::vector<std::string> lines{"WARNING - Parameter " + name + " not found"};
        for (std::size_t k = i; k < serverParameters.size(); ++k) {
            lines.push_back(") GetConfigParameters : error or could not find setting, " +
                            serverParameters[k].first + " (" + serverParameters[k].second +
                            ") in configuration file!");
        }
        lines.emplace_back("): VGpsReceiverServer: GetConfigParameters error");
        failures.push_back({name + "Missing",
                            [name](bench::DeviceRoot& root, bench::FpgaFile&) {
                                root.removeParameter(bench::serverFile, "VGpsReceiverServer", name);
                            },
                            lines, "Configure() failed"});
        failures.push_back({name + "Empty",
                            [name](bench::DeviceRoot& root, bench::FpgaFile&) {
                                root.setParameter(bench::serverFile, "VGpsReceiverServer", name,
                                                  "");
                            },
                            lines, "Configure() failed"});
    }
}

void addFileFailures(std::vector<Failure>& failures) {
    const auto file = [](bench::DeviceRoot& root) { return root.configFile(bench::serverFile); };
    const std::string guard = "Configure() failed";
    failures.push_back(
        {"FileMissing",
         [file](bench::DeviceRoot& root, bench::FpgaFile&) { std::filesystem::remove(file(root)); },
         {},
         guard});
    failures.push_back(
        {"FileEmpty",
         [file](bench::DeviceRoot& root, bench::FpgaFile&) { writeFile(file(root), ""); },
         {},
         guard});
    failures.push_back({"FileTruncated",
                        [file](bench::DeviceRoot& root, bench::FpgaFile&) {
                            const std::string text = readFile(file(root));
                            writeFile(file(root), text.substr(0, text.size() / 2));
                        },
                        {},
                        guard});
    failures.push_back(
        {"OtherRoot",
         [file](bench::DeviceRoot& root, bench::FpgaFile&) { writeFile(file(root), "<Other/>"); },
         {"Configuration XML - " + bench::DeviceRoot::serverArgument() +
          " Error: Unable to locate the HC_Configurations object"},
         guard});
    for (const std::string name : {"System", "Configuration"}) {
        failures.push_back({name + "Missing",
                            [name](bench::DeviceRoot& root, bench::FpgaFile&) {
                                root.removeParameter(bench::serverFile, "Halcyrine", name);
                            },
                            {"WARNING - Parameter " + name + " not found"},
                            guard});
    }
    for (const std::string name : {"Halcyrine", "VGpsReceiverServer"}) {
        failures.push_back({name + "ContainerMissing",
                            [name](bench::DeviceRoot& root, bench::FpgaFile&) {
                                root.removeContainer(bench::serverFile, name);
                            },
                            {},
                            guard});
    }
    failures.push_back({"CpuAbsurd",
                        [](bench::DeviceRoot& root, bench::FpgaFile&) {
                            // Cut to 8 bits it is processor 0, which there is none of.
                            root.setParameter(bench::serverFile, "VGpsReceiverServer", "CPU",
                                              "256");
                        },
                        {"FAILED to set VGpsReceiverServer: cpu affinity to 256"},
                        guard});
}

void addDeviceFailures(std::vector<Failure>& failures) {
    const std::string guard = "Framework_Connect() failed";
    failures.push_back({"DevicesFileMissing",
                        [](bench::DeviceRoot& root, bench::FpgaFile&) {
                            std::filesystem::remove(root.configFile(bench::ioDevicesFile));
                        },
                        {},
                        guard});
    failures.push_back({"ChannelMissing",
                        [](bench::DeviceRoot& root, bench::FpgaFile&) {
                            root.removeContainer(bench::ioDevicesFile, "DT_IN");
                        },
                        {},
                        guard});
    failures.push_back({"PortMissing",
                        [](bench::DeviceRoot& root, bench::FpgaFile&) {
                            root.removeParameter(bench::ioDevicesFile, "TYR_HC", "Port");
                        },
                        {"WARNING - Parameter Port not found"},
                        guard});
    failures.push_back({"QueueDeviceMissing",
                        [](bench::DeviceRoot& root, bench::FpgaFile&) {
                            std::filesystem::remove(root.file("/dev/mcs1"));
                        },
                        {"Unable to open output pipe file: /dev/mcs1"},
                        guard});
    failures.push_back({"VictoryFileMissing",
                        [](bench::DeviceRoot& root, bench::FpgaFile&) {
                            std::filesystem::remove(root.configFile(bench::vclFile));
                        },
                        {"VGpsReceiverServer Error reading VICTORY GPS Receiver configuration "
                         "file."},
                        guard});
    failures.push_back({"VictoryFileBroken",
                        [](bench::DeviceRoot& root, bench::FpgaFile&) {
                            writeFile(root.configFile(bench::serviceFile), "<broken");
                        },
                        {},
                        guard});
    // These end by the FPGA's own guard.
    failures.push_back({"RegisterBlockMissing",
                        [](bench::DeviceRoot& root, bench::FpgaFile&) {
                            root.removeContainer(bench::ioDevicesFile, "PpsSlave_Interface");
                        },
                        {},
                        "FpgaFace() FAILED to open PPS Slave interface"});
    failures.push_back({"MemoryDeviceMissing",
                        [](bench::DeviceRoot& root, bench::FpgaFile&) {
                            std::filesystem::remove(root.file("/dev/mem"));
                        },
                        {},
                        "FpgaFace() FAILED to read FPGA number of UARTs"});
    failures.push_back({"ClockRateWrong",
                        [](bench::DeviceRoot&, bench::FpgaFile& fpga) {
                            fpga.write(bench::FpgaFile::ClockRate, 58982401);
                        },
                        {},
                        "INVALID_MODE FpgaFace() FPGA clock rate mismatch, got 58982401, expected "
                        "58982400"});
}

std::vector<Failure> allFailures() {
    std::vector<Failure> failures;
    addFileFailures(failures);
    addParameterFailures(failures);
    addDeviceFailures(failures);
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
