/** The bench's FPGA, as fpgactl reads and writes it. */
#include <gmock/gmock.h>

#include "bench/DeviceRoot.h"
#include "bench/FpgaFile.h"
#include "bench/ServerProcess.h"
#include "support/Eventually.h"

namespace bench {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using Strings = std::vector<std::string>;

class Fpgactl : public testing::Test {
protected:
    /** What it printed, "exit N" behind it. */
    Strings run(Strings arguments) const {
        ServerProcess process({FPGACTL, std::move(arguments), {}});
        const auto ending = process.wait(within(60s));
        Strings texts;
        for (const ServerProcess::Line& line : process.lines()) {
            texts.push_back(line.text);
        }
        texts.push_back("exit " + std::to_string(ending ? ending->status.value_or(-1) : -1));
        return texts;
    }
    /** The same on the bench. */
    Strings onBench(Strings arguments) const {
        arguments.insert(arguments.begin(), {"--root", root.path().string()});
        return run(std::move(arguments));
    }

    DeviceRoot root;
    FpgaFile fpga{root};
};

TEST_F(Fpgactl, ReadsAndWritesByName) {
    struct Case {
        Strings arguments, printed;
    };
    for (const Case& each : std::vector<Case>{
             {{"read", "clock_rate", "uarts"},
              {"clock_rate 58982400 0x3840000", "uarts 4 0x4", "exit 0"}},
             {{"write", "uart_delay.2", "0x5000"}, {"uart_delay.2 20480 0x5000", "exit 0"}},
             {{"read", "uart_delay"},
              {"uart_delay.0 0 0x0", "uart_delay.1 0 0x0", "uart_delay.2 20480 0x5000",
               "uart_delay.3 0 0x0", "exit 0"}},
             {{"write", "ptfe_default_nco_rate.1", "18446744073709551615"},
              {"ptfe_default_nco_rate.1 18446744073709551615 0xffffffffffffffff", "exit 0"}},
             {{"read", "ptfe_nco_rate.1", "ptfe_frequency_less_1.0"},
              {"ptfe_nco_rate.1 1099511627776 0x10000000000",
               "ptfe_frequency_less_1.0 58982399 0x383ffff", "exit 0"}},
             {{"firmware"},
              {"Zarvok FPGA Firmware:, BENCHSIM,Date YMD:,2024-03-07,Time  HHMM:,12:05,"
               "QPN:,0000-0000-0001Rev:A001",
               "2024-03-07T12:05:00", "exit 0"}},
             {{"reset", "1"}, {"exit 0"}},
             {{"read", "uart_delay.4"}, {"fpgactl: can't read uart_delay.4", "exit 1"}},
             {{"read", "uart_delay.4294967295"},
              {"fpgactl: can't read uart_delay.4294967295", "exit 1"}},
             {{"write", "pps_slave_control.9", "1"},
              {"fpgactl: can't write pps_slave_control.9", "exit 1"}},
             {{"read", "nothing"},
              {"fpgactl: No register \"nothing\"; `fpgactl list` names them", "exit 2"}},
             {{"write", "clock_rate", "1"}, {"fpgactl: clock_rate can only be read", "exit 2"}},
             {{"write", "uart_delay", "1"},
              {"fpgactl: There are 4 of uart_delay; say which, uart_delay.0 for instance",
               "exit 2"}},
             {{"write", "uart_delay.0", "0x100000000"},
              {"fpgactl: No number up to 4294967295: \"0x100000000\"", "exit 2"}},
             {{"write", "uart_delay.0", "-1x"},
              {"fpgactl: No number up to 4294967295: \"-1x\"", "exit 2"}},
             {{"reset", "2"}, {"fpgactl: No number up to 1: \"2\"", "exit 2"}},
         }) {
        EXPECT_EQ(onBench(each.arguments), each.printed) << testing::PrintToString(each.arguments);
    }
    const Strings list = onBench({"list"});
    EXPECT_EQ(list.size(), 1 + fpga::registers.size());
    EXPECT_THAT(list, testing::Contains("uart_delay              32 bits at TimeStamp_Interface "
                                        "384 + 8 N, 4 of them"));
    EXPECT_THAT(list, testing::Contains("ptfe_cycles             32 bits at Ptfe_InterfaceN 56, "
                                        "2 of them, read only"));
}

TEST_F(Fpgactl, EveryRegisterOfTheBenchAnswers) {
    // 14 + 2 there are once, 16 + 9 + 30 control, 2 pulses, 2 x 4 of UARTs, 14 of each engine.
    const Strings all = onBench({"read"});
    EXPECT_EQ(all.back(), "exit 0");
    EXPECT_EQ(all.size(), 1U + 15 + 16 + 9 + 30 + 2 + 2 * 4 + 14 * 2);
}

TEST_F(Fpgactl, SaysWhatIsMissing) {
    const Strings nowhere = run({"--root", "/nowhere", "list"});
    EXPECT_EQ(nowhere.back(), "exit 2");
    EXPECT_THAT(nowhere, testing::Contains(HasSubstr("IODevices.xml")));
    fpga.write(FpgaFile::ClockRate, 1);
    const Strings wrong = onBench({"read", "clock_rate"});
    EXPECT_THAT(wrong, testing::Contains(HasSubstr("clock rate mismatch, got 1")));
    EXPECT_THAT(wrong, testing::Contains("clock_rate 1 0x1")) << "and is read all the same";
    EXPECT_EQ(wrong.back(), "exit 0");
}

TEST_F(Fpgactl, EnginesCountStandStillAndStart) {
    EXPECT_TRUE(eventually([&] { return fpga.read(FpgaFile::PtfeNcoPhase, 1) > 0; }));
    EXPECT_THAT(onBench({"write", "ptfe_control.1", "1"}),
                ElementsAre("ptfe_control.1 1 0x1", "exit 0"));
    EXPECT_TRUE(eventually([&] {
        return fpga.read(FpgaFile::PtfeNcoPhase, 1) == 0 && fpga.read(FpgaFile::PtfeStatus, 1) == 0;
    }));
    EXPECT_EQ(fpga.read(FpgaFile::PtfeStatus, 0), 1U) << "the other one goes on";
    onBench({"reset", "1"});
    EXPECT_TRUE(eventually([&] { return fpga.read(FpgaFile::PtfeNcoPhase, 1) > 0; }));

    // A second brings time stamps, a cycle and the status.
    fpga.write(FpgaFile::UartDelay, 77, 3);
    const std::uint64_t cycles = fpga.read(FpgaFile::PtfeCycles, 0);
    EXPECT_TRUE(eventually([&] {
        return fpga.read(FpgaFile::PtfeCycles, 0) > cycles &&
               fpga.read(FpgaFile::PtfeStatus, 1) == 1 && fpga.read(FpgaFile::PulseTime, 1) > 0 &&
               fpga.read(FpgaFile::UartDataTime, 3) % FpgaFile::ticksPerSecond == 77;
    }));
    EXPECT_EQ(fpga.read(FpgaFile::PulseTime, 1) % FpgaFile::ticksPerSecond, 0U);

    fpga.write(FpgaFile::PtfeDefaultNcoRate, ~0ULL, 0);
    fpga.write(FpgaFile::EngineStart, 1);
    EXPECT_TRUE(eventually([&] { return fpga.read(FpgaFile::EngineStart) == 0; }));
    EXPECT_EQ(fpga.read(FpgaFile::PtfeNcoRate, 0), (1ULL << 44U) - 1);
}

}  // namespace
}  // namespace bench
