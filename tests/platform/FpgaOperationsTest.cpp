/** The named operations: which register each touches, and what it makes of it. */
#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <limits>

#include "platform/FpgaFixture.h"

namespace {

/** An FPGA of 3 UARTs, 2 engines, 4 pulses and 5 peripheral registers, its blocks side by side. */
class FpgaOperations : public Fpga {
protected:
    void SetUp() override {
        m_registers = {{0, 58982400}, {8, 3}, {16, 2}, {24, 4}, {32, 5}};
        for (std::size_t i = 0; i < m_blocks.size(); ++i) {
            const std::string address = std::to_string(addressOf(m_blocks[i].name));
            m_blocks[i].parameters = {{"BaseAddress", address}, {"Size", "0x400"}};
        }
        ASSERT_EQ(failure(), "");
        m_device->log.clear();
    }

    std::uint32_t addressOf(const std::string& block) const {
        const auto found = std::find(m_all.begin(), m_all.end(), block);
        return block == "TimeStamp_Interface"
                   ? 0x4000
                   : 0x5000 + 0x400 * static_cast<std::uint32_t>(found - m_all.begin());
    }

    /** `place`: block and offset, of which the log makes more. */
    void poke(const std::string& place, std::uint64_t value) const {
        const std::size_t blank = place.find(' ');
        putInMemory(addressOf(place.substr(0, blank)) + std::stoul(place.substr(blank)), value);
    }

    /** What was done since the last look. */
    Strings done() { return std::exchange(m_device->log, {}); }
};

constexpr std::uint64_t pattern = 0xF1E2D3C4B5A69788;
constexpr std::uint64_t low = 0xB5A69788;

/** Indexes beyond a register's last one. */
std::array<int, 4> beyond(int last) {
    return {last + 1, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
}

TEST_F(FpgaOperations, EachGetterReadsItsRegisterOnceAndNoneBeyondTheLast) {
    struct Case {
        std::string place;
        int last;
        std::uint64_t value;
        std::function<std::uint64_t(FpgaFace&, int)> get;
        std::uint64_t none = 0;
    };
    using F = FpgaFace;
    for (const Case& each : std::vector<Case>{
             {"TimeStamp_Interface 528 64", 2, pattern, &F::getUARTDataTimestampRaw},
             {"TimeStamp_Interface 160 64", 3, pattern, &F::getPulseTimestampRaw},
             {"TimeStamp_Interface 400 32", 2, low, &F::getUartDelay},
             {"Peripheral_Interface 16 32", 4, low, &F::fpga_get_periph_control},
             {"PpsSlave_Interface 32 32", 8, low, &F::fpga_get_ppsSlave_control},
             {"PtpClock_Interface 116 32", 29, low, &F::fpga_get_ptpClock_control},
             {"Ptfe_Interface1 0 64", 1, pattern, &F::getPtfeFirmwareId},
             {"Ptfe_Interface1 24 32", 1, low, &F::getPtfeStatus},
             {"Ptfe_Interface1 32 64", 1, 0x3C4B5A69788, &F::getDfNcoRate},
             {"Ptfe_Interface1 48 64", 1, 0xC4B5A69788, &F::getDtNcoPhase},
             {"Ptfe_Interface1 56 32", 1, low, &F::getDtCycles},
             {"Ptfe_Interface1 16 32", 1, low + 1, &F::getPtfeMeasuredFreqEstimate, 1},
             {"PulseGen_Interface1 4 32", 1, low, &F::fpga_pulsegen_get_Int_phase},
             {"PulseGen_Interface1 8 32", 1, low, &F::fpga_pulsegen_get_Ext_phase},
         }) {
        SCOPED_TRACE(each.place);
        poke(each.place, pattern);
        EXPECT_EQ(each.get(m_fpga, each.last), each.value);
        EXPECT_EQ(done(), Strings{each.place});
        for (const int index : beyond(each.last)) {
            EXPECT_EQ(each.get(m_fpga, index), each.none) << index;
        }
        EXPECT_EQ(done(), Strings{});
        m_device->spoiled =
            static_cast<std::uint32_t>(std::stoul(each.place.substr(each.place.find(' '))));
        EXPECT_EQ(each.get(m_fpga, each.last), each.none) << "whatever was read";
        m_device->spoiled = ~0U;
        poke(each.place, 0);
        m_device->log.clear();
    }
}

TEST_F(FpgaOperations, EachSetterWritesItsRegisterOnceAndNoneBeyondTheLast) {
    struct Case {
        std::string place;
        int last;
        std::function<void(FpgaFace&, int, std::uint64_t)> set;
    };
    using F = FpgaFace;
    const auto ticks =
        static_cast<void (F::*)(std::uint32_t, std::uint32_t) const>(&F::setUartDelay);
    const auto delay = [](std::uint32_t rate, std::uint32_t factor1, std::uint32_t factor2) {
        return [=](F& fpga, std::uint32_t uart, auto&&) {
            fpga.setUartDelay(uart, rate, factor1, factor2);
        };
    };
    const std::string whole = " = " + std::to_string(pattern);
    const std::string half = " = " + std::to_string(low);
    for (const Case& each : std::vector<Case>{
             {"TimeStamp_Interface 400 32" + half, 2, ticks},
             {"TimeStamp_Interface 400 32 = 20480", 2, delay(115200, 10, 4)},
             {"TimeStamp_Interface 400 32 = 8", 2, delay(7000000, 1, 1)},  // 8.4
             {"TimeStamp_Interface 400 32 = 4294967295", 2, delay(1, 1000, 1000)},
             {"TimeStamp_Interface 400 32 = 4294967295", 2, delay(0, 1, 1)},
             {"Peripheral_Interface 16 32" + half, 4, &F::fpga_set_periph_control},
             {"PpsSlave_Interface 32 32" + half, 8, &F::fpga_set_ppsSlave_control},
             {"PtpClock_Interface 116 32" + half, 29, &F::fpga_set_ptpClock_control},
             {"Ptfe_Interface1 200 64" + whole, 1, &F::setPtfeDefaultNcoRate},
             {"PulseGen_Interface1 4 32" + half, 1, &F::fpga_pulsegen_set_Int_phase},
             {"PulseGen_Interface1 8 32" + half, 1, &F::fpga_pulsegen_set_Ext_phase},
         }) {
        SCOPED_TRACE(each.place);
        each.set(m_fpga, each.last, pattern);
        EXPECT_EQ(done(), Strings{each.place});
        for (const int index : beyond(each.last)) {
            each.set(m_fpga, index, pattern);
        }
        EXPECT_EQ(done(), Strings{});
    }
}

TEST_F(FpgaOperations, ReadAndClearTellWhatWasThere) {
    poke("Peripheral_Interface 8", 0x11);
    poke("Ptfe_Interface0 24", 0x22);
    EXPECT_EQ(m_fpga.fpga_reset_periph_control(2), 0x11U);
    EXPECT_EQ(m_fpga.getAndClearPtfeStatus(0), 0x22U);
    EXPECT_EQ(done(), (Strings{"Peripheral_Interface 8 32", "Peripheral_Interface 8 32 = 0",
                               "Ptfe_Interface0 24 32", "Ptfe_Interface0 24 32 = 0"}));
    EXPECT_EQ(m_fpga.fpga_get_periph_control(2), 0U);
    EXPECT_EQ(m_fpga.getPtfeStatus(0), 0U);
    done();
    EXPECT_EQ(m_fpga.fpga_reset_periph_control(5), 0U);
    EXPECT_EQ(m_fpga.fpga_reset_periph_control(-1), 0U);
    EXPECT_EQ(m_fpga.getAndClearPtfeStatus(2), 0U);
    EXPECT_EQ(done(), Strings{});
}

TEST_F(FpgaOperations, EngineIsInitializedAndResetInOrder) {
    m_fpga.fpga_ptfe_init(1, 77, 1000);
    EXPECT_EQ(done(), (Strings{"PulseGen_Interface1 0 32 = 999", "TimeStamp_Interface 64 32 = 1",
                               "Ptfe_Interface1 144 32 = 77", "Ptfe_Interface1 152 32 = 77",
                               "Ptfe_Interface1 288 32 = 160"}));
    poke("Ptfe_Interface1 128", 0x85);
    const auto start = std::chrono::steady_clock::now();
    m_fpga.fpga_ptfe_soft_reset(1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::nanoseconds(1000));
    EXPECT_EQ(done(), (Strings{"Ptfe_Interface1 128 32", "Ptfe_Interface1 128 32 = 133",
                               "Ptfe_Interface1 128 32 = 132"}));
    m_device->spoiled = 128;
    m_fpga.fpga_ptfe_soft_reset(1);
    EXPECT_EQ(done(), (Strings{"Ptfe_Interface1 128 32", "Ptfe_Interface1 128 32 = 1",
                               "Ptfe_Interface1 128 32 = 0"}));
    m_fpga.fpga_ptfe_init(2, 77, 1000);
    m_fpga.fpga_ptfe_soft_reset(2);
    EXPECT_EQ(done(), Strings{});
}

TEST_F(FpgaOperations, PhaseIsFoldedOnceIntoThePeriod) {
    struct Case {
        std::uint32_t period, phase;
        int delta;
        std::uint32_t adjusted;
    };
    for (const Case& each : {Case{1000, 10, -20, 990},
                             {1000, 990, 20, 10},
                             {1000, 990, 10, 0},
                             {1000, 500, 1, 501},
                             {1000, 10, -10, 0},
                             {1000, 999, 0, 999},
                             {1000, 10, 2000, 1010},
                             {1000, 10, -2000, 0xFFFFFC22},
                             {1000, 0x7FFFFFFF, 1, 0x800003E8},  // negative now
                             {0, 10, 5, 15},
                             {0xFFFFFFFF, 10, -20, 0xFFFFFFF5}}) {
        SCOPED_TRACE(std::to_string(each.phase) + " " + std::to_string(each.delta));
        m_fpga.fpga_ptfe_init(1, 0, each.period);
        m_fpga.fpga_pulsegen_set_Int_phase(1, each.phase);
        m_fpga.fpga_pulsegen_set_Ext_phase(1, each.phase);
        EXPECT_EQ(m_fpga.fpga_pulsegen_adjust_Int_phase(1, each.delta), each.adjusted);
        EXPECT_EQ(m_fpga.fpga_pulsegen_adjust_Ext_phase(1, each.delta), each.adjusted);
        EXPECT_EQ(m_fpga.fpga_pulsegen_get_Int_phase(1), each.adjusted);
        EXPECT_EQ(m_fpga.fpga_pulsegen_get_Ext_phase(1), each.adjusted);
    }
    EXPECT_EQ(m_fpga.fpga_pulsegen_adjust_Int_phase(0, 25), 25U) << "an engine's own period, 0";
    done();
    EXPECT_EQ(m_fpga.fpga_pulsegen_adjust_Int_phase(2, 5), 0U);
    EXPECT_EQ(m_fpga.fpga_pulsegen_adjust_Ext_phase(2, 5), 0U);
    EXPECT_EQ(done(), Strings{});
}

TEST_F(FpgaOperations, FirmwareIdentifiesItself) {
    const std::uint32_t values[] = {0x41424344, 0x45464748, 0x20240307, 0xFFFF1205,
                                    0x51504E31, 0x51504E32, 0x51504E33, 0x52455631};
    // Upwards, since each takes the register behind it along.
    Strings all;
    for (std::uint32_t i = 0; i < 8; ++i) {
        const std::string place = "Processor_Interface " + std::to_string(4 * i);
        poke(place, values[i]);
        all.push_back(place + " 32");
    }
    EXPECT_EQ(m_fpga.getFirmwareBuildStamp(), "2024-03-07T12:05:00");
    EXPECT_EQ(done(), (Strings{"Processor_Interface 8 32", "Processor_Interface 12 32"}));
    EXPECT_EQ(m_fpga.getFirmwareConfiguration(),
              "Zarvok FPGA Firmware:, ABCDEFGH,Date YMD:,2024-03-07,Time  HHMM:,12:05,"
              "QPN:,QPN1-QPN2-QPN3Rev:REV1");
    EXPECT_EQ(done(), all);
    m_device->spoiled = 8;
    EXPECT_EQ(m_fpga.getFirmwareBuildStamp(), "0000-00-00T12:05:00");
    m_device->spoiled = ~0U;
    poke("Processor_Interface 12", 0x1A0F);
    EXPECT_EQ(m_fpga.getFirmwareBuildStamp(), "2024-03-07T110:015:00") << "no decimal digits";
}

TEST_F(FpgaOperations, NothingIsTouchedWithoutADevice) {
    m_fpga.fpga_ptfe_init(1, 0, 1000);
    EXPECT_THROW(m_fpga.InitFpga(nullptr), std::runtime_error);
    m_fpga.fpga_ptfe_init(1, 0, 1000);
    m_fpga.fpga_ptfe_soft_reset(1);
    m_fpga.setUartDelay(0, 7);
    EXPECT_EQ(m_fpga.fpga_pulsegen_adjust_Int_phase(1, 5), 0U);
    EXPECT_EQ(m_fpga.getPtfeMeasuredFreqEstimate(1), 1U);
    EXPECT_EQ(m_fpga.getFirmwareBuildStamp(), "0000-00-00T00:00:00");
}

}  // namespace
