#include "platform/FpgaFixture.h"

namespace {

TEST_F(Fpga, OpensEveryBlockInOrderAndClosesThem) {
    for (const std::ptrdiff_t engines : {0, 1, 2}) {
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
        EXPECT_EQ(failure(offset), "INVALID_MODE FpgaFace() FAILED to read FPGA " + what);
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
