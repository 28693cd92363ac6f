#include "platform/FPGA.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "utilities/Console.h"

using FACE::RETURN_CODE_TYPE;
using utilities::concat;

/** A register's place in its block. */
struct FpgaFace::Register {
    std::uint32_t offset;  ///< [bytes]
    std::uint32_t width;   ///< [bits]
};

struct FpgaFace::Block {
    const char* container;
    const char* name;
    long long FpgaFace::*connection;
};

struct FpgaFace::Count {
    Register source;  ///< in the time stamp block
    const char* kind;
    std::uint64_t most;  ///< what can be believed
    std::uint32_t FpgaFace::*count;
};

namespace {

/** Counts that only bound indices: any that fits is harmless. */
constexpr std::uint64_t ANY = std::numeric_limits<std::uint32_t>::max();

constexpr std::uint32_t PPS_SLAVE_REGISTERS = 9;
constexpr std::uint32_t PTP_CLOCK_REGISTERS = 30;

void require(const std::string& failure, RETURN_CODE_TYPE::Value code, int line) {
    FACE::Return_Code_Value_No_Error(__FILE__, line, failure.c_str(), code);
}

}  // namespace

const std::array<FpgaFace::Block, 5> FpgaFace::BLOCKS{{
    {"Processor_Interface", "processor", &FpgaFace::m_processor},
    {"Peripheral_Interface", "peripheral", &FpgaFace::m_peripheral},
    {"TimeStamp_Interface", "timestamp", &FpgaFace::m_timestamp},
    {"PpsSlave_Interface", "PPS Slave", &FpgaFace::m_ppsSlave},
    {"PtpClock_Interface", "PTP Clock", &FpgaFace::m_ptpClock},
}};

const std::array<FpgaFace::Count, 4> FpgaFace::COUNTS{{
    {{8, 64}, "UARTs", ANY, &FpgaFace::m_uartCount},
    {{16, 64}, "PTFEs", MAX_PTFE_COUNT, &FpgaFace::m_ptfeCount},
    {{24, 64}, "Pulses", ANY, &FpgaFace::m_pulseCount},
    {{32, 64}, "Periphs", ANY, &FpgaFace::m_peripheralRegisterCount},
}};

FpgaFace& FpgaFace::Instance() {
    static FpgaFace instance;
    return instance;
}

void FpgaFace::InitFpga(const std::shared_ptr<FACE::IOSS::Devmem::IO_Service>& service) {
    m_service = service;
    forgetBlocks();
    openBlocks();
    readCounts();
    m_ppsSlaveRegisterCount = PPS_SLAVE_REGISTERS;
    m_ptpClockRegisterCount = PTP_CLOCK_REGISTERS;
    openEngines();
    checkClockRate();
}

void FpgaFace::DoneFpga() {
    for (const Block& block : BLOCKS) {
        close(this->*block.connection);
    }
    for (std::size_t i = 0; i < m_ptfes.size(); ++i) {
        close(m_ptfes[i]);
        close(m_pulseGenerators[i]);
    }
}

std::uint64_t FpgaFace::fpga_get_SystemCount() const {
    constexpr Register systemCount{128, 64};
    std::uint64_t ticks = 0;
    return read(m_timestamp, systemCount, ticks) == RETURN_CODE_TYPE::NO_ERROR ? ticks : 0;
}

void FpgaFace::forgetBlocks() {
    for (const Block& block : BLOCKS) {
        this->*block.connection = -1;
    }
    m_ptfes.clear();
    m_pulseGenerators.clear();
}

void FpgaFace::openBlocks() {
    for (const Block& block : BLOCKS) {
        this->*block.connection = open(block.container, block.name);
    }
}

void FpgaFace::readCounts() {
    for (const Count& count : COUNTS) {
        std::uint64_t value = 0;
        require(concat("FpgaFace() FAILED to read FPGA number of ", count.kind),
                read(m_timestamp, count.source, value), __LINE__);
        if (value > count.most) {
            require(concat("FpgaFace() FPGA number of ", count.kind, " out of range, got ", value,
                           ", at most ", count.most),
                    RETURN_CODE_TYPE::INVALID_MODE, __LINE__);
        }
        this->*count.count = static_cast<std::uint32_t>(value);
    }
}

void FpgaFace::openEngines() {
    m_ptfes.assign(m_ptfeCount, -1);
    m_pulseGenerators.assign(m_ptfeCount, -1);
    m_pulsePeriods.assign(m_ptfeCount, 0);
    for (std::uint32_t i = 0; i < m_ptfeCount; ++i) {
        m_ptfes[i] = open(concat("Ptfe_Interface", i), concat("PTFE ", i));
        m_pulseGenerators[i] = open(concat("PulseGen_Interface", i), concat("PulseGen ", i));
    }
}

void FpgaFace::checkClockRate() const {
    constexpr Register clockRate{0, 64};
    std::uint64_t rate = 0;
    require("FpgaFace() FAILED to read FPGA clock rate", read(m_timestamp, clockRate, rate),
            __LINE__);
    if (rate != TICKS_PER_SECOND) {
        require(concat("FpgaFace() FPGA clock rate mismatch, got ", rate, ", expected ",
                       TICKS_PER_SECOND),
                RETURN_CODE_TYPE::INVALID_MODE, __LINE__);
    }
}

long long FpgaFace::open(const std::string& container, const std::string& what) const {
    long long connection = -1;
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ACTION;
    if (m_service) {
        m_service->Open_Connection(container.c_str(), -1, connection, rc);
    }
    require(concat("FpgaFace() FAILED to open ", what, " interface"), rc, __LINE__);
    return connection;
}

void FpgaFace::close(long long connection) const {
    if (m_service) {
        RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ACTION;
        m_service->Close_Connection(connection, ignored);
    }
}

RETURN_CODE_TYPE::Value FpgaFace::read(long long connection, const Register& source,
                                       std::uint64_t& value) const {
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ACTION;
    if (m_service) {
        FACE::IOSS::Devmem::Register_Read payload{0, source.offset, source.width, 0};
        m_service->Read(connection, -1, payload, rc);
        value = payload.value;
    }
    return rc;
}
