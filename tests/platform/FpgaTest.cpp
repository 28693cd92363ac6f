#include "platform/FPGA.h"

#include <algorithm>
#include <map>
#include <stdexcept>

#include "ioss/HC_Devmem.h"
#include "ioss/ServiceTest.h"

namespace {

using FACE::IOSS::HC_Devmem;
using Strings = std::vector<std::string>;

/** Register blocks in a file, which count what is done to them and can be made to fail. */
class WatchedDevmem : public HC_Devmem {
public:
    void Open_Connection(const FACE::String& name, long long timeout, long long& connection,
                         R::Value& rc) override {
        HC_Devmem::Open_Connection(name, timeout, connection, rc);
        if (rc == R::NO_ERROR) {
            opened.emplace_back(name.view());
        }
    }
    void Close_Connection(long long connection, R::Value& rc) override {
        HC_Devmem::Close_Connection(connection, rc);
        closed += rc == R::NO_ERROR ? 1U : 0U;
    }
    void Read(long long connection, long long timeout, READ_PAYLOAD_TYPE& payload,
              R::Value& rc) override {
        HC_Devmem::Read(connection, timeout, payload, rc);
        reads.push_back(payload.offset);
        if (payload.offset == spoiled) {
            rc = R::INVALID_MODE;
        }
    }

    Strings opened;
    std::size_t closed = 0;
    std::vector<std::uint32_t> reads;
    std::uint32_t spoiled = ~0U;
};

/** An FPGA of one engine. All its blocks lie at one address. */
class Fpga : public testing::Test {
protected:
    Fpga() {
        // The process opens /dev/mem once.
        static const TemporaryUnit unit;
        m_unit = &unit;
        unit.use();
        if (!std::filesystem::exists(unit.device("mem"))) {
            unit.makeSparse("mem", 0x10000);
        }
        for (const std::string& name : m_all) {
            m_blocks.push_back({name, {{"BaseAddress", "0x4000"}, {"Size", "0x400"}}});
        }
    }

    /** What InitFpga raises over the blocks, without the place of its origin. */
    std::string failure() {
        for (const auto& [offset, value] : m_registers) {
            std::fstream memory(m_unit->device("mem"),
                                std::ios::binary | std::ios::in | std::ios::out);
            memory.seekp(0x4000 + offset);
            memory.write(reinterpret_cast<const char*>(&value), sizeof(value));
        }
        R::Value rc = R::TIMED_OUT;
        m_device->Set_Reference("", std::make_shared<FACE::HC_Config>(), 0, rc);
        m_device->Initialize(m_unit->configure(m_blocks).c_str(), rc);
        try {
            m_fpga.InitFpga(m_device);
        } catch (const std::runtime_error& error) {
            const std::string text = error.what();
            EXPECT_NE(text.find("FPGA.cpp["), std::string::npos) << text;
            return text.substr(text.find("]:") + 2);
        }
        return "";
    }

    const Strings m_all{"Processor_Interface", "Peripheral_Interface", "TimeStamp_Interface",
                        "PpsSlave_Interface",  "PtpClock_Interface",   "Ptfe_Interface0",
                        "PulseGen_Interface0", "Ptfe_Interface1",      "PulseGen_Interface1"};
    const TemporaryUnit* m_unit = nullptr;
    std::vector<Container> m_blocks;
    std::map<std::uint32_t, std::uint64_t> m_registers{
        {0, 58982400}, {8, 2}, {16, 1}, {24, 3}, {32, 4}, {128, 0x123456789ABCDE}};
    std::shared_ptr<WatchedDevmem> m_device = std::make_shared<WatchedDevmem>();
    FpgaFace& m_fpga = FpgaFace::Instance();
};

TEST_F(Fpga, OpensEveryBlockInOrderAndClosesThem) {
    for (const std::ptrdiff_t engines : {0, 1, 2}) {
        m_device = std::make_shared<WatchedDevmem>();
        m_registers[16] = static_cast<std::uint64_t>(engines);
        EXPECT_EQ(failure(), "");
        EXPECT_EQ(m_device->opened, Strings(m_all.begin(), m_all.begin() + 5 + 2 * engines));
        EXPECT_EQ(m_device->reads, (std::vector<std::uint32_t>{8, 16, 24, 32, 0}));
        m_fpga.DoneFpga();
        EXPECT_EQ(m_device->closed, m_device->opened.size());
    }
}

TEST_F(Fpga, BlockThatIsMissingEndsTheStartWithItsText) {
    const Strings names{"processor", "peripheral", "timestamp", "PPS Slave",
                        "PTP Clock", "PTFE 0",     "PulseGen 0"};
    const std::vector<Container> all = m_blocks;
    for (std::size_t i = 0; i < names.size(); ++i) {
        m_device = std::make_shared<WatchedDevmem>();
        m_blocks = all;
        m_blocks.erase(m_blocks.begin() + static_cast<std::ptrdiff_t>(i));
        EXPECT_EQ(failure(), "INVALID_CONFIG FpgaFace() FAILED to open " + names[i] + " interface");
        EXPECT_EQ(m_device->opened,
                  Strings(m_all.begin(), m_all.begin() + static_cast<std::ptrdiff_t>(i)));
        m_fpga.DoneFpga();
        EXPECT_EQ(m_device->closed, i);
    }
    EXPECT_THROW(m_fpga.InitFpga(nullptr), std::runtime_error);
    EXPECT_EQ(m_fpga.fpga_get_SystemCount(), 0U);
}

TEST_F(Fpga, RegisterThatFailsOrCannotBeEndsTheStartWithItsText) {
    const auto registers = m_registers;
    for (const auto& [offset, what] :
         std::map<std::uint32_t, std::string>{{8, "number of UARTs"},
                                              {16, "number of PTFEs"},
                                              {24, "number of Pulses"},
                                              {32, "number of Periphs"},
                                              {0, "clock rate"}}) {
        m_device = std::make_shared<WatchedDevmem>();
        m_device->spoiled = offset;
        EXPECT_EQ(failure(), "INVALID_MODE FpgaFace() FAILED to read FPGA " + what);
        EXPECT_EQ(m_device->reads.back(), offset);
    }
    struct Row {
        std::uint32_t offset;
        std::uint64_t value;
        std::string text;
    };
    for (const Row& row : std::vector<Row>{
             {0, 58982401, "clock rate mismatch, got 58982401, expected 58982400"},
             {0, 4353949696, "clock rate mismatch, got 4353949696, expected 58982400"},
             {16, 65, "number of PTFEs out of range, got 65, at most 64"},
             {16, 1ULL << 40, "number of PTFEs out of range, got 1099511627776, at most 64"},
             {8, ~0ULL,
              "number of UARTs out of range, got 18446744073709551615, at most 4294967295"}}) {
        m_device = std::make_shared<WatchedDevmem>();
        m_registers = registers;
        m_registers[row.offset] = row.value;
        EXPECT_EQ(failure(), "INVALID_MODE FpgaFace() FPGA " + row.text);
    }
}

TEST_F(Fpga, SystemCountIsOneReadAndZeroWhenItFails) {
    ASSERT_EQ(failure(), "");
    m_device->reads.clear();
    EXPECT_EQ(m_fpga.fpga_get_SystemCount(), 0x123456789ABCDEU);
    EXPECT_EQ(m_device->reads, (std::vector<std::uint32_t>{128}));
    m_device->spoiled = 128;
    EXPECT_EQ(m_fpga.fpga_get_SystemCount(), 0U) << "whatever was read";
    m_device->spoiled = ~0U;
    m_fpga.DoneFpga();
    EXPECT_EQ(m_fpga.fpga_get_SystemCount(), 0U);
    EXPECT_EQ(m_fpga.fpga_timestamp_get_ticks_per_sec(), 0x3840000U);
}

}  // namespace
