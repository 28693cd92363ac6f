/** The bench's tools, as a person calls them. */
#include <gmock/gmock.h>

#include "bench/DeviceRoot.h"
#include "bench/FpgaFile.h"
#include "support/Eventually.h"
#include "support/RunProgram.h"

namespace bench {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::HasSubstr;
using Strings = std::vector<std::string>;

/** The bench's FPGA, as fpgactl reads and writes it. */
class Fpgactl : public testing::Test {
protected:
    Strings onBench(Strings arguments) const {
        arguments.insert(arguments.begin(), {"--root", root.path().string()});
        return runProgram(FPGACTL, std::move(arguments));
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
    // 14 + 2 there are once, 16 + 9 + 30 control, 2 pulses, 2 x 4 of UARTs, 14 of each engine.
    EXPECT_EQ(onBench({"read"}).size(), 1U + 15 + 16 + 9 + 30 + 2 + 2 * 4 + 14 * 2);
    const Strings list = onBench({"list"});
    EXPECT_EQ(list.size(), 1 + fpga::registers.size());
    EXPECT_THAT(list, Contains("uart_delay              32 bits at TimeStamp_Interface "
                               "384 + 8 N, 4 of them"));
    EXPECT_THAT(list, Contains("ptfe_cycles             32 bits at Ptfe_InterfaceN 56, "
                               "2 of them, read only"));
}

TEST_F(Fpgactl, EnginesStandStillAloneAndEverySecondIsStamped) {
    fpga.write(FpgaFile::UartDelay, 77, 3);
    fpga.write(FpgaFile::PtfeControl, 1, 1);
    fpga.write(FpgaFile::PtfeDefaultNcoRate, ~0ULL, 0);
    fpga.write(FpgaFile::EngineStart, 1);
    EXPECT_TRUE(eventually([&] {
        return fpga.read(FpgaFile::PtfeNcoPhase, 1) == 0 &&
               fpga.read(FpgaFile::PtfeCycles, 0) > 1 && fpga.read(FpgaFile::PtfeStatus, 1) == 0 &&
               fpga.read(FpgaFile::PtfeStatus, 0) == 1 && fpga.read(FpgaFile::EngineStart) == 0 &&
               fpga.read(FpgaFile::PulseTime, 1) > 0 &&
               fpga.read(FpgaFile::UartDataTime, 3) % FpgaFile::ticksPerSecond == 77;
    }));
    EXPECT_EQ(fpga.read(FpgaFile::PulseTime, 1) % FpgaFile::ticksPerSecond, 0U);
    EXPECT_EQ(fpga.read(FpgaFile::PtfeNcoRate, 0), (1ULL << 44U) - 1);

    // A tenth of a second's counts take that long; the file is brought up about every millisecond.
    const auto start = std::chrono::steady_clock::now();
    const auto end = fpga.read(FpgaFile::SystemCount) + FpgaFile::ticksPerSecond / 10;
    EXPECT_TRUE(eventually([&] { return fpga.read(FpgaFile::SystemCount) >= end; }, 3s));
    EXPECT_GT(std::chrono::steady_clock::now() - start, 80ms);

    onBench({"reset", "1"});
    EXPECT_TRUE(eventually([&] { return fpga.read(FpgaFile::PtfeNcoPhase, 1) > 0; }));
}

TEST_F(Fpgactl, SaysWhatIsMissing) {
    const Strings nowhere = runProgram(FPGACTL, {"--root", "/nowhere", "list"});
    EXPECT_EQ(nowhere.back(), "exit 2");
    EXPECT_THAT(nowhere, Contains(HasSubstr("IODevices.xml")));
    fpga.write(FpgaFile::ClockRate, 1);
    const Strings wrong = onBench({"read", "clock_rate"});
    EXPECT_THAT(wrong, Contains(HasSubstr("clock rate mismatch, got 1")));
    EXPECT_THAT(wrong, Contains("clock_rate 1 0x1")) << "and is read all the same";
    EXPECT_EQ(wrong.back(), "exit 0");
}

TEST(RunTopic, ShowsTheFieldsAsAnotherProcessHasReceivedThem) {
    const Strings lines = runProgram(BENCH_RUN, {"--topic", "GNSS"});
    EXPECT_THAT(lines, Contains(R"(  header {"seq_num":1,"timestamp_arrival":{"sec":2,"nsec":3,)"
                                R"("time_code":4},"timestamp_valid":{"sec":5,"nsec":6,)"
                                R"("time_code":7},"device_id":8})"));
    EXPECT_THAT(lines, Contains("  seconds_of_week 10.25"));
    EXPECT_THAT(lines, Contains("  num_measurements 14"));
    EXPECT_THAT(lines, Contains(R"(    1 {"prn":24,"satellite_system":25,"type":26,"band":27,)"
                                R"("attrib":28,"observation":29.25,"LLI":30,)"
                                R"("signal_strength":31,"lock_count":32})"));
    EXPECT_THAT(lines, Contains("It is what was sent"));
    EXPECT_EQ(lines.back(), "exit 0");
}

TEST(RunTopic, ListsTheTypesForHelpAndForAWrongName) {
    for (const std::string topic : {"help", "Altitud"}) {
        const Strings lines = runProgram(BENCH_RUN, {"--topic", topic});
        EXPECT_EQ(lines.back(), topic == "help" ? "exit 0" : "exit 1");
        EXPECT_THAT(lines, testing::SizeIs(34));
        EXPECT_THAT(lines, Contains("  Altitude"));
        EXPECT_EQ(lines.front().find("\"Altitud\"") != std::string::npos, topic != "help");
    }
}

}  // namespace
}  // namespace bench
