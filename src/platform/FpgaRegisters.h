/** The FPGA's register map: every register in one table, which all accesses go through. */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace fpga {

/** Register blocks. Each engine has one of the last two, all others are there once. */
enum class Block : std::size_t {
    Processor,
    Peripheral,
    TimeStamp,
    PpsSlave,
    PtpClock,
    Ptfe,
    PulseGen
};
inline constexpr std::size_t blockCount = 7;
inline constexpr std::size_t singleBlockCount = 5;

/** What there are as many registers of a kind as. */
enum class Bound : std::size_t { One, Uarts, Ptfes, Pulses, Peripherals, PpsSlave, PtpClock };
inline constexpr std::size_t boundCount = 7;

/** Whether a technician may write it. */
enum class Access { ReadOnly, ReadWrite };

enum class Register : std::size_t {
    FirmwareName1,
    FirmwareName2,
    BuildDate,
    BuildTime,
    PartNumber1,
    PartNumber2,
    PartNumber3,
    Revision,
    PeripheralControl,
    ClockRate,
    Uarts,
    Ptfes,
    Pulses,
    PeripheralRegisters,
    EngineStart,
    SystemCount,
    PulseTime,
    UartDelay,
    UartDataTime,
    PpsSlaveControl,
    PtpClockControl,
    PtfeFirmwareId,
    PtfeFrequency,
    PtfeStatus,
    PtfeNcoRate,
    PtfeNcoPhase,
    PtfeCycles,
    PtfeControl,
    PtfeParameter1,
    PtfeParameter2,
    PtfeDefaultNcoRate,
    PtfeSetting,
    PulsePeriod,
    PulseInternalPhase,
    PulseExternalPhase
};

struct Row {
    Register id;
    std::string_view name;  ///< for a technician
    Block block;
    std::uint32_t offset;  ///< of the first [bytes]
    std::uint32_t width;   ///< of an access [bits]
    Bound bound;
    std::uint32_t stride = 0;  ///< [bytes] to the next; 0: the index picks the block
    Access access = Access::ReadOnly;
    std::uint32_t validBits = 64;  ///< the low bits that count
};

inline constexpr std::array registers{
    Row{Register::FirmwareName1, "firmware_name_1", Block::Processor, 0, 32, Bound::One},
    Row{Register::FirmwareName2, "firmware_name_2", Block::Processor, 4, 32, Bound::One},
    Row{Register::BuildDate, "build_date", Block::Processor, 8, 32, Bound::One},
    Row{Register::BuildTime, "build_time", Block::Processor, 12, 32, Bound::One},
    Row{Register::PartNumber1, "part_number_1", Block::Processor, 16, 32, Bound::One},
    Row{Register::PartNumber2, "part_number_2", Block::Processor, 20, 32, Bound::One},
    Row{Register::PartNumber3, "part_number_3", Block::Processor, 24, 32, Bound::One},
    Row{Register::Revision, "revision", Block::Processor, 28, 32, Bound::One},
    Row{Register::PeripheralControl, "peripheral_control", Block::Peripheral, 0, 32,
        Bound::Peripherals, 4, Access::ReadWrite},
    Row{Register::ClockRate, "clock_rate", Block::TimeStamp, 0, 64, Bound::One},
    Row{Register::Uarts, "uarts", Block::TimeStamp, 8, 64, Bound::One},
    Row{Register::Ptfes, "ptfes", Block::TimeStamp, 16, 64, Bound::One},
    Row{Register::Pulses, "pulses", Block::TimeStamp, 24, 64, Bound::One},
    Row{Register::PeripheralRegisters, "peripheral_registers", Block::TimeStamp, 32, 64,
        Bound::One},
    Row{Register::EngineStart, "engine_start", Block::TimeStamp, 64, 32, Bound::One, 0,
        Access::ReadWrite},
    Row{Register::SystemCount, "system_count", Block::TimeStamp, 128, 64, Bound::One},
    Row{Register::PulseTime, "pulse_time", Block::TimeStamp, 136, 64, Bound::Pulses, 8},
    Row{Register::UartDelay, "uart_delay", Block::TimeStamp, 384, 32, Bound::Uarts, 8,
        Access::ReadWrite},
    Row{Register::UartDataTime, "uart_data_time", Block::TimeStamp, 512, 64, Bound::Uarts, 8},
    Row{Register::PpsSlaveControl, "pps_slave_control", Block::PpsSlave, 0, 32, Bound::PpsSlave, 4,
        Access::ReadWrite},
    Row{Register::PtpClockControl, "ptp_clock_control", Block::PtpClock, 0, 32, Bound::PtpClock, 4,
        Access::ReadWrite},
    Row{Register::PtfeFirmwareId, "ptfe_firmware_id", Block::Ptfe, 0, 64, Bound::Ptfes},
    Row{Register::PtfeFrequency, "ptfe_frequency_less_1", Block::Ptfe, 16, 32, Bound::Ptfes},
    Row{Register::PtfeStatus, "ptfe_status", Block::Ptfe, 24, 32, Bound::Ptfes, 0,
        Access::ReadWrite},
    Row{Register::PtfeNcoRate, "ptfe_nco_rate", Block::Ptfe, 32, 64, Bound::Ptfes, 0,
        Access::ReadOnly, 44},
    Row{Register::PtfeNcoPhase, "ptfe_nco_phase", Block::Ptfe, 48, 64, Bound::Ptfes, 0,
        Access::ReadOnly, 40},
    Row{Register::PtfeCycles, "ptfe_cycles", Block::Ptfe, 56, 32, Bound::Ptfes},
    Row{Register::PtfeControl, "ptfe_control", Block::Ptfe, 128, 32, Bound::Ptfes, 0,
        Access::ReadWrite},
    Row{Register::PtfeParameter1, "ptfe_parameter_1", Block::Ptfe, 144, 32, Bound::Ptfes, 0,
        Access::ReadWrite},
    Row{Register::PtfeParameter2, "ptfe_parameter_2", Block::Ptfe, 152, 32, Bound::Ptfes, 0,
        Access::ReadWrite},
    Row{Register::PtfeDefaultNcoRate, "ptfe_default_nco_rate", Block::Ptfe, 200, 64, Bound::Ptfes,
        0, Access::ReadWrite},
    Row{Register::PtfeSetting, "ptfe_setting", Block::Ptfe, 288, 32, Bound::Ptfes, 0,
        Access::ReadWrite},
    Row{Register::PulsePeriod, "pulse_period_less_1", Block::PulseGen, 0, 32, Bound::Ptfes, 0,
        Access::ReadWrite},
    Row{Register::PulseInternalPhase, "pulse_internal_phase", Block::PulseGen, 4, 32, Bound::Ptfes,
        0, Access::ReadWrite},
    Row{Register::PulseExternalPhase, "pulse_external_phase", Block::PulseGen, 8, 32, Bound::Ptfes,
        0, Access::ReadWrite},
};

constexpr const Row& rowOf(Register id) {
    return registers[static_cast<std::size_t>(id)];
}

static_assert(
    [] {
        for (std::size_t i = 0; i < registers.size(); ++i) {
            if (registers[i].id != static_cast<Register>(i)) {
                return false;
            }
        }
        return true;
    }(),
    "the table lies in the order of the enumeration");

}  // namespace fpga
