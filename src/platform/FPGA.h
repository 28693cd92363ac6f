/** The unit's FPGA: its register blocks and its free-running time base. */
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ioss/Devmem_IO_Service.h"
#include "platform/FpgaRegisters.h"

/** Opens one memory connection for each register block and turns named operations into single
 *  register accesses.
 *
 *  InitFpga and DoneFpga run on the main thread. The other operations may be called from any thread
 *  once InitFpga has finished; they never raise. A register that can't be read is 0, a write that
 *  can't be done is dropped, and with an index out of range nothing is touched. What reads a
 *  register and writes it again (reset, clear, adjust) is two accesses and not atomic.
 */
class FpgaFace {
public:
    /** What the time base runs at [ticks/s]. */
    static constexpr std::uint64_t TICKS_PER_SECOND = 58982400;

    /** More engines than this are no count but a device that isn't there. */
    static constexpr std::uint64_t MAX_PTFE_COUNT = 64;

    static FpgaFace& Instance();

    /** Opens all blocks, reads how many of each kind the FPGA holds and checks its clock rate. The
     *  first failure is written to standard output and thrown as std::runtime_error, which names
     *  the step; a count or rate that can't be gives INVALID_MODE. What has been opened until then
     *  can be used.
     */
    void InitFpga(const std::shared_ptr<FACE::IOSS::Devmem::IO_Service>& service);

    /** Closes all blocks, for good. Safe without, and after a failed, InitFpga. */
    void DoneFpga();

    /** Any register of the table, as far as its bits are valid. False when it can't be read, and
     *  `value` is 0 then. */
    bool read(fpga::Register id, std::uint32_t index, std::uint64_t& value) const;
    /** False when it can't be written. */
    bool write(fpga::Register id, std::uint32_t index, std::uint64_t value) const;
    /** How many there are of a register. */
    std::uint32_t count(fpga::Register id) const;

    /** The running count of the time base [ticks], 0 on failure. One device read. */
    std::uint64_t fpga_get_SystemCount() const;
    std::uint64_t fpga_timestamp_get_ticks_per_sec() const { return TICKS_PER_SECOND; }

    /** When the UART's data came, and the pulse [ticks]. */
    std::uint64_t getUARTDataTimestampRaw(std::uint32_t uart) const;
    std::uint64_t getPulseTimestampRaw(int pulse) const;

    /** The UART's delay [ticks]; with a rate: that of factor1 x factor2 steps of 1 s / rate,
     * without its fraction. */
    void setUartDelay(std::uint32_t uart, std::uint32_t ticks) const;
    void setUartDelay(std::uint32_t uart, std::uint32_t rate, std::uint32_t factor1,
                      std::uint32_t factor2) const;
    std::uint32_t getUartDelay(std::uint32_t uart) const;

    void fpga_set_periph_control(int index, std::uint32_t value) const;
    std::uint32_t fpga_get_periph_control(int index) const;
    /** What it was before it became 0. */
    std::uint32_t fpga_reset_periph_control(int index) const;
    void fpga_set_ppsSlave_control(int index, std::uint32_t value) const;
    std::uint32_t fpga_get_ppsSlave_control(int index) const;
    void fpga_set_ptpClock_control(int index, std::uint32_t value) const;
    std::uint32_t fpga_get_ptpClock_control(int index) const;

    /** Time and frequency engines. */
    std::uint64_t getPtfeFirmwareId(std::uint32_t ptfe) const;
    std::uint32_t getPtfeStatus(std::uint32_t ptfe) const;
    std::uint32_t getAndClearPtfeStatus(std::uint32_t ptfe) const;
    std::uint64_t getDfNcoRate(std::uint32_t ptfe) const;
    std::uint64_t getDtNcoPhase(std::uint32_t ptfe) const;
    std::uint32_t getDtCycles(std::uint32_t ptfe) const;
    /** One more than its register, and so 1 when that can't be read. */
    std::uint32_t getPtfeMeasuredFreqEstimate(std::uint32_t ptfe) const;
    void setPtfeDefaultNcoRate(std::uint32_t ptfe, std::uint64_t rate) const;
    /** `period` is that of the engine's pulse generator. */
    void fpga_ptfe_init(std::uint32_t ptfe, std::uint32_t parameter, std::uint32_t period);
    /** Holds the engine in reset for a microsecond, in which the caller waits. */
    void fpga_ptfe_soft_reset(std::uint32_t ptfe) const;

    /** Pulse generators, one for each engine. Adjusting adds `delta` and folds the sum once into
     *  the period of `fpga_ptfe_init`; returns what it has written. */
    void fpga_pulsegen_set_Int_phase(std::uint32_t n, std::uint32_t phase) const;
    std::uint32_t fpga_pulsegen_get_Int_phase(std::uint32_t n) const;
    std::uint32_t fpga_pulsegen_adjust_Int_phase(std::uint32_t n, int delta) const;
    void fpga_pulsegen_set_Ext_phase(std::uint32_t n, std::uint32_t phase) const;
    std::uint32_t fpga_pulsegen_get_Ext_phase(std::uint32_t n) const;
    std::uint32_t fpga_pulsegen_adjust_Ext_phase(std::uint32_t n, int delta) const;

    /** As in 2024-03-07T12:05:00. */
    std::string getFirmwareBuildStamp() const;
    /** Name, date, time, part number and revision, bytes as the registers have them. */
    std::string getFirmwareConfiguration() const;

    FpgaFace(const FpgaFace&) = delete;
    FpgaFace& operator=(const FpgaFace&) = delete;

private:
    struct SingleBlock;
    struct Count;
    static const std::array<SingleBlock, fpga::singleBlockCount> BLOCKS;
    static const std::array<Count, 4> COUNTS;

    FpgaFace() = default;
    ~FpgaFace() = default;

    void forgetBlocks();
    void openBlocks();
    void readCounts();
    void openEngines();
    void checkClockRate() const;
    long long open(const std::string& container, const std::string& what) const;
    void close(long long connection) const;

    struct Place;
    bool find(const fpga::Row& row, std::uint32_t index, Place& place) const;
    FACE::RETURN_CODE_TYPE::Value readRow(const fpga::Row& row, std::uint32_t index,
                                          std::uint64_t& value) const;
    std::uint64_t get(fpga::Register id, std::uint32_t index = 0) const;
    std::uint32_t get32(fpga::Register id, std::uint32_t index = 0) const;
    std::uint32_t getAndClear(fpga::Register id, std::uint32_t index) const;
    std::uint32_t adjustPhase(fpga::Register id, std::uint32_t n, int delta) const;
    std::vector<long long>& connections(fpga::Block block) {
        return m_connections[static_cast<std::size_t>(block)];
    }

    std::shared_ptr<FACE::IOSS::Devmem::IO_Service> m_service;
    std::array<std::vector<long long>, fpga::blockCount> m_connections;  ///< by block and index
    std::array<std::uint32_t, fpga::boundCount> m_counts{};              ///< by bound
    std::vector<std::atomic<std::uint32_t>> m_pulsePeriods;
};
