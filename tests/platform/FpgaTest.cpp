#include "platform/FPGA.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <regex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "face/HC_Config.h"
#include "ioss/HC_Devmem.h"
#include "ioss/TemporaryUnit.h"

namespace {

using FACE::RETURN_CODE_TYPE;
using Code = RETURN_CODE_TYPE::Value;
using Devmem = FACE::IOSS::Devmem::IO_Service;
using FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE;

/** An FPGA of two UARTs, one engine, three pulses and four peripherals, that can be spoiled. */
class FakeFpga : public Devmem {
public:
    /** Values of the time stamp block, by offset. */
    std::map<std::uint32_t, std::uint64_t> registers{
        {0, 58982400}, {8, 2}, {16, 1}, {24, 3}, {32, 4}, {128, 0x123456789ABCDEF}};
    std::map<std::uint32_t, Code> failedReads;
    std::map<std::string, Code> failedOpens;
    std::vector<std::string> opened;
    std::vector<std::string> closed;
    std::vector<std::pair<std::string, std::uint32_t>> reads;

    void Open_Connection(const FACE::String& name, long long timeout, long long& connection,
                         Code& rc) override {
        EXPECT_EQ(timeout, -1);
        const std::string text(name.view());
        if (const auto failed = failedOpens.find(text); failed != failedOpens.end()) {
            rc = failed->second;
            return;
        }
        opened.push_back(text);
        connection = static_cast<long long>(opened.size()) - 1;
        rc = RETURN_CODE_TYPE::NO_ERROR;
    }
    void Close_Connection(long long connection, Code& rc) override {
        rc = RETURN_CODE_TYPE::INVALID_PARAM;
        if (connection >= 0) {
            closed.push_back(opened.at(static_cast<std::size_t>(connection)));
        }
    }
    void Read(long long connection, long long timeout, READ_PAYLOAD_TYPE& payload,
              Code& rc) override {
        EXPECT_EQ(timeout, -1);
        EXPECT_EQ(rc, RETURN_CODE_TYPE::NO_ACTION);
        reads.emplace_back(opened.at(static_cast<std::size_t>(connection)), payload.offset);
        EXPECT_EQ(payload.width, 64U);
        rc = failedReads.contains(payload.offset) ? failedReads[payload.offset]
                                                  : RETURN_CODE_TYPE::NO_ERROR;
        payload.value = registers.at(payload.offset);
    }

    void Initialize(const FACE::String&, Code&) override {}
    void Write(long long, long long, const WRITE_PAYLOAD_TYPE&, Code&) override {
        ADD_FAILURE() << "nothing is written";
    }
    void Configure_Connection_Parameters(long long, long long, const IO_PARAMETER_TRANSACTION_TYPE&,
                                         Code&) override {}
    void Get_Connection_Configuration(long long, long long, IO_PARAMETER_TRANSACTION_TYPE&,
                                      Code&) override {}
    void Configure_Bus_Parameters(long long, long long, const IO_PARAMETER_TRANSACTION_TYPE&,
                                  Code&) override {}
    void Get_Bus_Configuration(long long, long long, IO_PARAMETER_TRANSACTION_TYPE&,
                               Code&) override {}
    void Get_Connection_Status(long long, FACE::IOSS::CONNECTION_STATUS_TYPE&, Code&) override {}
    void Get_Bus_Status(long long, std::uint16_t&, Code&) override {}
    void Register_Notification_Event(long long, FACE::IOSS::IO_Callback&, Code&) override {}
    void Unregister_Notification_Event(long long, Code&) override {}
};

const std::vector<std::string> FIVE_BLOCKS{"Processor_Interface", "Peripheral_Interface",
                                           "TimeStamp_Interface", "PpsSlave_Interface",
                                           "PtpClock_Interface"};

std::vector<std::string> blocksWith(std::vector<std::string> engines) {
    std::vector<std::string> all = FIVE_BLOCKS;
    all.insert(all.end(), engines.begin(), engines.end());
    return all;
}

FpgaFace& fpga() {
    return FpgaFace::Instance();
}

/** What InitFpga raises, the place of its origin taken off. */
std::string failureOf(const std::shared_ptr<Devmem>& service) {
    try {
        fpga().InitFpga(service);
    } catch (const std::runtime_error& error) {
        return std::regex_replace(error.what(), std::regex("^.*FPGA\\.cpp\\[[0-9]+\\]:"), "");
    }
    return "";
}

TEST(FpgaFace, OpensEveryBlockInOrderAndClosesThem) {
    for (const auto& [engines, names] : std::map<std::uint64_t, std::vector<std::string>>{
             {0, {}},
             {1, {"Ptfe_Interface0", "PulseGen_Interface0"}},
             {2,
              {"Ptfe_Interface0", "PulseGen_Interface0", "Ptfe_Interface1",
               "PulseGen_Interface1"}}}) {
        const auto device = std::make_shared<FakeFpga>();
        device->registers[16] = engines;
        EXPECT_EQ(failureOf(device), "");
        EXPECT_EQ(device->opened, blocksWith(names));
        const std::string timestamps = "TimeStamp_Interface";
        EXPECT_EQ(device->reads,
                  (std::vector<std::pair<std::string, std::uint32_t>>{{timestamps, 8},
                                                                      {timestamps, 16},
                                                                      {timestamps, 24},
                                                                      {timestamps, 32},
                                                                      {timestamps, 0}}));
        fpga().DoneFpga();
        EXPECT_EQ(device->closed, device->opened);
    }
}

TEST(FpgaFace, FirstFailureEndsTheStartWithItsText) {
    using R = RETURN_CODE_TYPE;
    struct Row {
        std::function<void(FakeFpga&)> spoil;
        std::string text;
        std::size_t opened;
    };
    const auto open = [](const char* name, Code code) {
        return [=](FakeFpga& device) { device.failedOpens[name] = code; };
    };
    const auto read = [](std::uint32_t offset) {
        return [=](FakeFpga& device) { device.failedReads[offset] = R::CONNECTION_CLOSED; };
    };
    const auto set = [](std::uint32_t offset, std::uint64_t value) {
        return [=](FakeFpga& device) { device.registers[offset] = value; };
    };
    const std::vector<Row> rows{
        {open("Processor_Interface", R::INVALID_CONFIG),
         "INVALID_CONFIG FpgaFace() FAILED to open processor interface", 0},
        {open("Peripheral_Interface", R::INVALID_CONFIG),
         "INVALID_CONFIG FpgaFace() FAILED to open peripheral interface", 1},
        {open("TimeStamp_Interface", R::NO_ACTION),
         "NO_ACTION FpgaFace() FAILED to open timestamp interface", 2},
        {open("PpsSlave_Interface", R::INVALID_CONFIG),
         "INVALID_CONFIG FpgaFace() FAILED to open PPS Slave interface", 3},
        {open("PtpClock_Interface", R::INVALID_CONFIG),
         "INVALID_CONFIG FpgaFace() FAILED to open PTP Clock interface", 4},
        {read(8), "CONNECTION_CLOSED FpgaFace() FAILED to read FPGA number of UARTs", 5},
        {read(16), "CONNECTION_CLOSED FpgaFace() FAILED to read FPGA number of PTFEs", 5},
        {read(24), "CONNECTION_CLOSED FpgaFace() FAILED to read FPGA number of Pulses", 5},
        {read(32), "CONNECTION_CLOSED FpgaFace() FAILED to read FPGA number of Periphs", 5},
        {open("Ptfe_Interface0", R::INVALID_CONFIG),
         "INVALID_CONFIG FpgaFace() FAILED to open PTFE 0 interface", 5},
        {open("PulseGen_Interface0", R::INVALID_CONFIG),
         "INVALID_CONFIG FpgaFace() FAILED to open PulseGen 0 interface", 6},
        {read(0), "CONNECTION_CLOSED FpgaFace() FAILED to read FPGA clock rate", 7},
        {set(0, 58982401),
         "INVALID_MODE FpgaFace() FPGA clock rate mismatch, got 58982401, expected 58982400", 7},
        {set(0, 58982400 + (1ULL << 32)),
         "INVALID_MODE FpgaFace() FPGA clock rate mismatch, got 4353949696, expected 58982400", 7},
        {set(16, 65),
         "INVALID_MODE FpgaFace() FPGA number of PTFEs out of range, got 65, at most 64", 5},
        {set(16, 1ULL << 40),
         "INVALID_MODE FpgaFace() FPGA number of PTFEs out of range, got 1099511627776, at most 64",
         5},
        {set(8, ~0ULL),
         "INVALID_MODE FpgaFace() FPGA number of UARTs out of range, got 18446744073709551615, at "
         "most 4294967295",
         5},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const auto device = std::make_shared<FakeFpga>();
        row.spoil(*device);
        EXPECT_EQ(failureOf(device), row.text);
        EXPECT_EQ(device->opened.size(), row.opened);
        fpga().DoneFpga();
        EXPECT_EQ(device->closed, device->opened);
    }
    EXPECT_EQ(failureOf(nullptr), "NO_ACTION FpgaFace() FAILED to open processor interface");
}

TEST(FpgaFace, SystemCountIsOneReadAndZeroWhenItFails) {
    const auto device = std::make_shared<FakeFpga>();
    ASSERT_EQ(failureOf(device), "");
    device->reads.clear();
    EXPECT_EQ(fpga().fpga_get_SystemCount(), 0x123456789ABCDEFU);
    EXPECT_EQ(device->reads,
              (std::vector<std::pair<std::string, std::uint32_t>>{{"TimeStamp_Interface", 128}}));
    device->failedReads[128] = RETURN_CODE_TYPE::INVALID_MODE;
    EXPECT_EQ(fpga().fpga_get_SystemCount(), 0U) << "whatever the payload holds";
    EXPECT_THROW(fpga().InitFpga(nullptr), std::runtime_error);
    EXPECT_EQ(fpga().fpga_get_SystemCount(), 0U) << "without a service";
    EXPECT_EQ(fpga().fpga_timestamp_get_ticks_per_sec(), 0x3840000U);
}

TEST(FpgaFace, CountsOverMappedRegistersUntilItIsDone) {
    TemporaryUnit unit;
    unit.makeSparse("mem", 0x10000);
    {
        std::ofstream memory(unit.device("mem"), std::ios::binary | std::ios::in);
        const auto put = [&](std::streamoff at, std::uint64_t value) {
            memory.seekp(at);
            memory.write(reinterpret_cast<const char*>(&value), sizeof(value));
        };
        put(0x4000, 58982400);
        put(0x4000 + 128, 77);
    }
    std::vector<Container> blocks;
    for (const std::string& name : FIVE_BLOCKS) {
        const bool timestamps = name == "TimeStamp_Interface";
        blocks.push_back(
            {name, {{"BaseAddress", timestamps ? "0x4000" : "0x8000"}, {"Size", "0x400"}}});
    }
    const auto device = std::make_shared<FACE::IOSS::HC_Devmem>();
    Code rc = RETURN_CODE_TYPE::TIMED_OUT;
    device->Set_Reference("", std::make_shared<FACE::HC_Config>(), 0, rc);
    device->Initialize(unit.configure(blocks).c_str(), rc);
    ASSERT_EQ(failureOf(device), "");
    EXPECT_EQ(fpga().fpga_get_SystemCount(), 77U);
    fpga().DoneFpga();
    EXPECT_EQ(fpga().fpga_get_SystemCount(), 0U);
    fpga().DoneFpga();
}

}  // namespace
