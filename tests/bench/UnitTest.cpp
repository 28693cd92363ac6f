/** The simulated unit: device root, FPGA, queues. */
#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <chrono>
#include <cmath>
#include <csignal>
#include <fstream>

#include "bench/DeviceRoot.h"
#include "bench/FpgaFile.h"
#include "bench/Frames.h"
#include "bench/ReceiverPorts.h"
#include "bench/Scenario.h"
#include "support/Eventually.h"

namespace bench {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Channel = ReceiverPorts::Channel;

TEST(DeviceRoot, LaysTheUnitAndTakesItAway) {
    fs::path path;
    {
        const DeviceRoot root;
        path = root.path();
        struct stat memory {};
        ASSERT_EQ(::stat(root.file("/dev/mem").c_str(), &memory), 0);
        EXPECT_GT(memory.st_size, 0x40013010);
        EXPECT_LT(memory.st_blocks, 100);
        for (const char* queue : {"/dev/mcs0", "/dev/mcs1", "/dev/mcs2", "/dev/mcs3"}) {
            EXPECT_TRUE(fs::is_fifo(root.file(queue))) << queue;
        }
        for (const char* name :
             {serverFile, connectionsFile, ioDevicesFile, serviceFile, vclFile}) {
            EXPECT_TRUE(fs::is_regular_file(root.configFile(name))) << name;
        }
        EXPECT_EQ(root.file(DeviceRoot::serverArgument()), root.configFile(serverFile));
    }
    EXPECT_FALSE(fs::exists(path));
}

TEST(DeviceRoot, GoesWithAKilledProcessYetStaysWhenItIsKept) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const int child = ::fork();
    if (child == 0) {
        const DeviceRoot root;
        const std::string path = root.path().string() + "\n";
        [[maybe_unused]] const auto told = ::write(ends[1], path.data(), path.size());
        ::raise(SIGKILL);
    }
    ASSERT_GT(child, 0);
    char text[256] = {};
    const auto length = ::read(ends[0], text, sizeof text);
    ::waitpid(child, nullptr, 0);
    ::close(ends[0]);
    ::close(ends[1]);
    ASSERT_GT(length, 1);
    const fs::path path(std::string(text, static_cast<std::size_t>(length) - 1));
    EXPECT_TRUE(eventually([&] { return !fs::exists(path); })) << path;
    std::optional<DeviceRoot> root(std::in_place);
    root->keep();
    const fs::path kept = root->path();
    root.reset();
    EXPECT_TRUE(fs::exists(kept / "dev/mem"));
    fs::remove_all(kept);
}

TEST(DeviceRoot, ParametersAreEditedInPlace) {
    DeviceRoot root;
    const auto edit = [&](const char* name, const char* value) {
        root.setParameter(serverFile, "VGpsReceiverServer", name, value);
    };
    const auto parameter = [&](const char* name) {
        return root.parameter(serverFile, "VGpsReceiverServer", name);
    };
    EXPECT_EQ(parameter("PARAM_3"), "39");
    edit("PARAM_3", "0x26");
    EXPECT_EQ(root.number(serverFile, "VGpsReceiverServer", "PARAM_3"), 38U);
    edit("PARAM_3", "");
    EXPECT_EQ(parameter("PARAM_3"), "");
    EXPECT_THROW(root.number(serverFile, "VGpsReceiverServer", "PARAM_3"), std::runtime_error);
    for (int twice = 0; twice < 2; ++twice) {
        root.removeParameter(serverFile, "VGpsReceiverServer", "PARAM_4");
        EXPECT_EQ(parameter("PARAM_4"), "");
    }
    edit("PARAM_4", "9");
    EXPECT_EQ(parameter("PARAM_4"), "9");
    EXPECT_EQ(parameter("PARAM_5"), "12");

    root.removeContainer(ioDevicesFile, "DT_IN");
    EXPECT_FALSE(root.hasContainer(ioDevicesFile, "DT_IN"));
    EXPECT_TRUE(root.hasContainer(ioDevicesFile, "DT_OUT"));
    EXPECT_THROW(root.setParameter(ioDevicesFile, "DT_IN", "Port", "3"), std::runtime_error);

    const auto hasPeriods = [&](const char* period) {
        std::ifstream input(root.configFile(vclFile));
        const std::string text{std::istreambuf_iterator<char>(input), {}};
        std::ptrdiff_t found = 0;
        for (auto at = text.find(period); at != text.npos; at = text.find(period, at + 1)) {
            ++found;
        }
        return found;
    };
    root.setUpdatePeriod("GPS_RECEIVER_STATUS", 4321);
    EXPECT_EQ(hasPeriods("\"4321\""), 1);
    root.setUpdatePeriods(1234);
    EXPECT_EQ(hasPeriods("\"1234\""), 4);
}

TEST(FpgaFile, CountsOnAtItsRate) {
    const DeviceRoot root;
    const FpgaFile fpga(root);
    // The file shows the count to another reader, as the server is one; a busy machine may spoil
    // one measurement of the rate, a wrong rate spoils all.
    const auto countInFile = [&] {
        std::ifstream memory(root.file("/dev/mem"), std::ios::binary);
        std::uint64_t count = 0;
        memory.seekg(0x40002000 + 128);
        memory.read(reinterpret_cast<char*>(&count), sizeof count);
        return static_cast<double>(count);
    };
    const auto rateIsRight = [&] {
        const auto start = std::chrono::steady_clock::now();
        const double before = countInFile();
        while (countInFile() < before + 58982400 * 0.1 &&
               std::chrono::steady_clock::now() < start + 5s) {
        }
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        return std::abs((countInFile() - before) / took.count() / 58982400 - 1) < 0.04;
    };
    EXPECT_TRUE(eventually(rateIsRight, 20s));
}

TEST(ReceiverPorts, RecordIsTheMessageInItsEncapsulation) {
    const DeviceRoot root;
    ReceiverPorts ports(root);
    const Bytes frame{0xFF, 0x81, 0xB0, 0x13};
    ports.record(frame);
    const Bytes record = ports.record(frame);
    ASSERT_EQ(record.size(), 60U);
    EXPECT_THAT(Bytes(record.begin(), record.begin() + 12),
                testing::ElementsAre(0, 1, 0, 0,                // little-endian
                                     1, 0, 0, 0, 0, 0, 0, 0));  // the second message
    EXPECT_THAT(Bytes(record.begin() + 44, record.end()),
                testing::ElementsAre(0, 0, 39, 0,               // device id
                                     4, 0, 0, 0, 4, 0, 0, 0,    // num_bytes, count of data
                                     0xFF, 0x81, 0xB0, 0x13));  // data
    ports.setSourceServer(38);
    EXPECT_EQ(ports.record(frame)[46], 38);
}

TEST(ReceiverPorts, MessagesComeBackWhole) {
    const DeviceRoot root;
    ReceiverPorts ports(root);
    const auto frames = cycleFrames(scenarioAt(6));
    for (const Bytes& frame : frames) {
        ASSERT_TRUE(ports.send(Channel::HcTyr, frame));
    }
    for (const Bytes& frame : frames) {
        const auto message = ports.receive(Channel::HcTyr, within(5s));
        ASSERT_TRUE(message);
        EXPECT_EQ(message->data(), frame);
    }
    EXPECT_FALSE(ports.receive(Channel::HcTyr, within(0ms)));

    // A record in two pieces waits for its end; one that claims too much is dropped.
    const Bytes record = ports.record(frames[0]);
    ports.sendRaw(Channel::DtIn, std::span(record).first(100));
    EXPECT_FALSE(ports.receive(Channel::DtIn, within(0ms)));
    ports.sendRaw(Channel::DtIn, std::span(record).subspan(100));
    EXPECT_TRUE(ports.receive(Channel::DtIn, within(5s)));
    ports.sendRaw(Channel::DtIn, Bytes(56, 0xFF));
    EXPECT_THROW(ports.receive(Channel::DtIn, within(5s)), std::runtime_error);
    ports.send(Channel::DtIn, frames[1]);
    EXPECT_EQ(ports.receive(Channel::DtIn, within(5s))->data(), frames[1]);
}

TEST(ReceiverPorts, FullQueueIsToldAndKeepsWholeRecords) {
    const DeviceRoot root;
    ReceiverPorts ports(root);
    const Bytes frame = frame8504(scenarioAt(0));
    std::size_t sent = 0;
    while (ports.send(Channel::DtOut, frame, within(0ms))) {
        ASSERT_LT(++sent, 100000U);
    }
    EXPECT_GE(sent, 65536 / (frame.size() + 56) / 2);
    for (std::size_t index = 0; index < sent; ++index) {
        ASSERT_TRUE(ports.receive(Channel::DtOut, within(5s)));
    }
    EXPECT_FALSE(ports.receive(Channel::DtOut, within(0ms)));
}

}  // namespace
}  // namespace bench
