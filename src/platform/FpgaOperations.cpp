/** The named operations of FpgaFace, each by way of the register table. */
#include <chrono>
#include <thread>

#include "platform/FPGA.h"
#include "utilities/round.h"

using fpga::Register;

namespace {

constexpr std::uint32_t SOFT_RESET = 1;  // of the engine's control register
constexpr std::uint32_t ENGINE_SETTING = 160;

/** An index as the table takes it: a negative one is beyond every count. */
constexpr std::uint32_t toIndex(int index) {
    return static_cast<std::uint32_t>(index);
}

/** The four bytes of a register, the top one first. */
std::string characters(std::uint32_t value) {
    std::string text;
    for (unsigned shift = 32; shift > 0; shift -= 8) {
        text += static_cast<char>(value >> (shift - 8U));
    }
    return text;
}

/** The lowest `count` digits of a binary-coded decimal, with a sign behind the first `sign`. What
 *  is no decimal digit shows as the number that it is. */
std::string digits(std::uint32_t value, unsigned count, unsigned sign = 0, char separator = '-') {
    std::string text;
    for (unsigned i = 0; i < count; ++i) {
        if (i == sign && sign > 0) {
            text += separator;
        }
        text += std::to_string(value >> (4 * (count - 1 - i)) & 0xFU);
    }
    return text;
}

std::string dateText(std::uint32_t date) {
    return digits(date >> 16U, 4) + "-" + digits(date, 4, 2);
}

std::string timeText(std::uint32_t time) {
    return digits(time, 4, 2, ':');
}

}  // namespace

std::uint64_t FpgaFace::fpga_get_SystemCount() const {
    return get(Register::SystemCount);
}

std::uint64_t FpgaFace::getUARTDataTimestampRaw(std::uint32_t uart) const {
    return get(Register::UartDataTime, uart);
}

std::uint64_t FpgaFace::getPulseTimestampRaw(int pulse) const {
    return pulse < 0 ? 0 : get(Register::PulseTime, toIndex(pulse));
}

void FpgaFace::setUartDelay(std::uint32_t uart, std::uint32_t ticks) const {
    write(Register::UartDelay, uart, ticks);
}

void FpgaFace::setUartDelay(std::uint32_t uart, std::uint32_t rate, std::uint32_t factor1,
                            std::uint32_t factor2) const {
    const double ticks = static_cast<double>(TICKS_PER_SECOND) / rate * factor1 * factor2;
    setUartDelay(uart, utilities::cutTo<std::uint32_t>(ticks));
}

std::uint32_t FpgaFace::getUartDelay(std::uint32_t uart) const {
    return get32(Register::UartDelay, uart);
}

void FpgaFace::fpga_set_periph_control(int index, std::uint32_t value) const {
    write(Register::PeripheralControl, toIndex(index), value);
}

std::uint32_t FpgaFace::fpga_get_periph_control(int index) const {
    return get32(Register::PeripheralControl, toIndex(index));
}

std::uint32_t FpgaFace::fpga_reset_periph_control(int index) const {
    return getAndClear(Register::PeripheralControl, toIndex(index));
}

void FpgaFace::fpga_set_ppsSlave_control(int index, std::uint32_t value) const {
    write(Register::PpsSlaveControl, toIndex(index), value);
}

std::uint32_t FpgaFace::fpga_get_ppsSlave_control(int index) const {
    return get32(Register::PpsSlaveControl, toIndex(index));
}

void FpgaFace::fpga_set_ptpClock_control(int index, std::uint32_t value) const {
    write(Register::PtpClockControl, toIndex(index), value);
}

std::uint32_t FpgaFace::fpga_get_ptpClock_control(int index) const {
    return get32(Register::PtpClockControl, toIndex(index));
}

std::uint64_t FpgaFace::getPtfeFirmwareId(std::uint32_t ptfe) const {
    return get(Register::PtfeFirmwareId, ptfe);
}

std::uint32_t FpgaFace::getPtfeStatus(std::uint32_t ptfe) const {
    return get32(Register::PtfeStatus, ptfe);
}

std::uint32_t FpgaFace::getAndClearPtfeStatus(std::uint32_t ptfe) const {
    return getAndClear(Register::PtfeStatus, ptfe);
}

std::uint64_t FpgaFace::getDfNcoRate(std::uint32_t ptfe) const {
    return get(Register::PtfeNcoRate, ptfe);
}

std::uint64_t FpgaFace::getDtNcoPhase(std::uint32_t ptfe) const {
    return get(Register::PtfeNcoPhase, ptfe);
}

std::uint32_t FpgaFace::getDtCycles(std::uint32_t ptfe) const {
    return get32(Register::PtfeCycles, ptfe);
}

std::uint32_t FpgaFace::getPtfeMeasuredFreqEstimate(std::uint32_t ptfe) const {
    return get32(Register::PtfeFrequency, ptfe) + 1;
}

void FpgaFace::setPtfeDefaultNcoRate(std::uint32_t ptfe, std::uint64_t rate) const {
    write(Register::PtfeDefaultNcoRate, ptfe, rate);
}

void FpgaFace::fpga_ptfe_init(std::uint32_t ptfe, std::uint32_t parameter, std::uint32_t period) {
    if (ptfe >= m_pulsePeriods.size()) {
        return;
    }
    m_pulsePeriods[ptfe] = period;
    write(Register::PulsePeriod, ptfe, period - 1);
    write(Register::EngineStart, 0, 1);
    write(Register::PtfeParameter1, ptfe, parameter);
    write(Register::PtfeParameter2, ptfe, parameter);
    write(Register::PtfeSetting, ptfe, ENGINE_SETTING);
}

void FpgaFace::fpga_ptfe_soft_reset(std::uint32_t ptfe) const {
    if (ptfe >= count(Register::PtfeControl)) {
        return;
    }
    const std::uint32_t control = get32(Register::PtfeControl, ptfe);
    write(Register::PtfeControl, ptfe, control | SOFT_RESET);
    std::this_thread::sleep_for(std::chrono::nanoseconds(1000));  // a signal doesn't shorten it
    write(Register::PtfeControl, ptfe, control & ~SOFT_RESET);
}

void FpgaFace::fpga_pulsegen_set_Int_phase(std::uint32_t n, std::uint32_t phase) const {
    write(Register::PulseInternalPhase, n, phase);
}

std::uint32_t FpgaFace::fpga_pulsegen_get_Int_phase(std::uint32_t n) const {
    return get32(Register::PulseInternalPhase, n);
}

std::uint32_t FpgaFace::fpga_pulsegen_adjust_Int_phase(std::uint32_t n, int delta) const {
    return adjustPhase(Register::PulseInternalPhase, n, delta);
}

void FpgaFace::fpga_pulsegen_set_Ext_phase(std::uint32_t n, std::uint32_t phase) const {
    write(Register::PulseExternalPhase, n, phase);
}

std::uint32_t FpgaFace::fpga_pulsegen_get_Ext_phase(std::uint32_t n) const {
    return get32(Register::PulseExternalPhase, n);
}

std::uint32_t FpgaFace::fpga_pulsegen_adjust_Ext_phase(std::uint32_t n, int delta) const {
    return adjustPhase(Register::PulseExternalPhase, n, delta);
}

std::uint32_t FpgaFace::adjustPhase(Register id, std::uint32_t n, int delta) const {
    if (n >= m_pulsePeriods.size()) {
        return 0;
    }
    const std::uint32_t period = m_pulsePeriods[n];
    std::uint32_t phase = get32(id, n) + static_cast<std::uint32_t>(delta);
    if (static_cast<std::int32_t>(phase) < 0) {
        phase += period;
    } else if (phase >= period) {
        phase -= period;
    }
    write(id, n, phase);
    return phase;
}

std::string FpgaFace::getFirmwareBuildStamp() const {
    const std::uint32_t date = get32(Register::BuildDate);
    const std::uint32_t time = get32(Register::BuildTime);
    return dateText(date) + "T" + timeText(time) + ":00";
}

std::string FpgaFace::getFirmwareConfiguration() const {
    std::string text = "Zarvok FPGA ";
    text += "Firmware:, " + characters(get32(Register::FirmwareName1));
    text += characters(get32(Register::FirmwareName2)) + ",";
    text += "Date YMD:," + dateText(get32(Register::BuildDate)) + ",";
    text += "Time  HHMM:," + timeText(get32(Register::BuildTime)) + ",";
    text += "QPN:," + characters(get32(Register::PartNumber1)) + "-";
    text += characters(get32(Register::PartNumber2)) + "-";
    text += characters(get32(Register::PartNumber3));
    text += "Rev:" + characters(get32(Register::Revision));
    return text;
}
