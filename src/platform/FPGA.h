/** The unit's FPGA: its register blocks and its free-running time base. */
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ioss/Devmem_IO_Service.h"

/** Opens one memory connection for each register block and turns named operations into single
 *  register accesses.
 *
 *  InitFpga and DoneFpga run on the main thread. The other operations may be called from any thread
 *  once InitFpga has finished; they never raise: a register that can't be read is 0.
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
     *  the step; a count or rate that can't be gives INVALID_MODE.
     */
    void InitFpga(const std::shared_ptr<FACE::IOSS::Devmem::IO_Service>& service);

    /** Closes all blocks, for good. Safe without, and after a failed, InitFpga. */
    void DoneFpga();

    /** The running count of the time base [ticks], 0 on failure. One device read. */
    std::uint64_t fpga_get_SystemCount() const;

    std::uint64_t fpga_timestamp_get_ticks_per_sec() const { return TICKS_PER_SECOND; }

    FpgaFace(const FpgaFace&) = delete;
    FpgaFace& operator=(const FpgaFace&) = delete;

private:
    struct Block;
    struct Count;
    struct Register;
    static const std::array<Block, 5> BLOCKS;
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
    FACE::RETURN_CODE_TYPE::Value read(long long connection, const Register& source,
                                       std::uint64_t& value) const;

    std::shared_ptr<FACE::IOSS::Devmem::IO_Service> m_service;
    long long m_processor = -1;
    long long m_peripheral = -1;
    long long m_timestamp = -1;
    long long m_ppsSlave = -1;
    long long m_ptpClock = -1;
    std::vector<long long> m_ptfes;
    std::vector<long long> m_pulseGenerators;
    std::vector<std::uint32_t> m_pulsePeriods;
    std::uint32_t m_uartCount = 0;
    std::uint32_t m_ptfeCount = 0;
    std::uint32_t m_pulseCount = 0;
    std::uint32_t m_peripheralRegisterCount = 0;
    std::uint32_t m_ppsSlaveRegisterCount = 0;
    std::uint32_t m_ptpClockRegisterCount = 0;
};
