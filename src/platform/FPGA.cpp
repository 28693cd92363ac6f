#include "platform/FPGA.h"

#include <limits>
#include <utility>

#include "utilities/Console.h"

using FACE::RETURN_CODE_TYPE;
using fpga::Block;
using fpga::Bound;
using fpga::Register;
using utilities::concat;

struct FpgaFace::SingleBlock {
    Block block;
    const char* container;
    const char* name;
};

struct FpgaFace::Count {
    Register source;
    const char* kind;
    std::uint64_t most;  ///< what can be believed
    Bound bound;
};

struct FpgaFace::Place {
    long long connection;
    std::uint32_t offset;  ///< [bytes]
};

namespace {

/** Counts that only bound indices: any that fits is harmless. */
constexpr std::uint64_t ANY = std::numeric_limits<std::uint32_t>::max();

constexpr std::uint32_t PPS_SLAVE_REGISTERS = 9;
constexpr std::uint32_t PTP_CLOCK_REGISTERS = 30;

constexpr std::size_t indexOf(Bound bound) {
    return static_cast<std::size_t>(bound);
}

void require(const std::string& failure, RETURN_CODE_TYPE::Value code, int line) {
    FACE::Return_Code_Value_No_Error(__FILE__, line, failure.c_str(), code);
}

}  // namespace

const std::array<FpgaFace::SingleBlock, fpga::singleBlockCount> FpgaFace::BLOCKS{{
    {Block::Processor, "Processor_Interface", "processor"},
    {Block::Peripheral, "Peripheral_Interface", "peripheral"},
    {Block::TimeStamp, "TimeStamp_Interface", "timestamp"},
    {Block::PpsSlave, "PpsSlave_Interface", "PPS Slave"},
    {Block::PtpClock, "PtpClock_Interface", "PTP Clock"},
}};

const std::array<FpgaFace::Count, 4> FpgaFace::COUNTS{{
    {Register::Uarts, "UARTs", ANY, Bound::Uarts},
    {Register::Ptfes, "PTFEs", MAX_PTFE_COUNT, Bound::Ptfes},
    {Register::Pulses, "Pulses", ANY, Bound::Pulses},
    {Register::PeripheralRegisters, "Periphs", ANY, Bound::Peripherals},
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
    m_counts[indexOf(Bound::PpsSlave)] = PPS_SLAVE_REGISTERS;
    m_counts[indexOf(Bound::PtpClock)] = PTP_CLOCK_REGISTERS;
    openEngines();
    checkClockRate();
}

void FpgaFace::DoneFpga() {
    for (const SingleBlock& single : BLOCKS) {
        for (const long long connection : connections(single.block)) {
            close(connection);
        }
    }
    for (std::size_t i = 0; i < connections(Block::Ptfe).size(); ++i) {
        close(connections(Block::Ptfe)[i]);
        close(connections(Block::PulseGen)[i]);
    }
}

void FpgaFace::forgetBlocks() {
    for (std::vector<long long>& ofBlock : m_connections) {
        ofBlock.clear();
    }
    m_pulsePeriods.clear();
    m_counts = {};
    m_counts[indexOf(Bound::One)] = 1;
}

void FpgaFace::openBlocks() {
    for (const SingleBlock& single : BLOCKS) {
        connections(single.block).push_back(open(single.container, single.name));
    }
}

void FpgaFace::readCounts() {
    for (const Count& count : COUNTS) {
        std::uint64_t value = 0;
        require(concat("FpgaFace() FAILED to read FPGA number of ", count.kind),
                readRow(fpga::rowOf(count.source), 0, value), __LINE__);
        if (value > count.most) {
            require(concat("FpgaFace() FPGA number of ", count.kind, " out of range, got ", value,
                           ", at most ", count.most),
                    RETURN_CODE_TYPE::INVALID_MODE, __LINE__);
        }
        m_counts[indexOf(count.bound)] = static_cast<std::uint32_t>(value);
    }
}

void FpgaFace::openEngines() {
    const std::uint32_t engines = m_counts[indexOf(Bound::Ptfes)];
    connections(Block::Ptfe).assign(engines, -1);
    connections(Block::PulseGen).assign(engines, -1);
    m_pulsePeriods = std::vector<std::atomic<std::uint32_t>>(engines);
    for (std::uint32_t i = 0; i < engines; ++i) {
        connections(Block::Ptfe)[i] = open(concat("Ptfe_Interface", i), concat("PTFE ", i));
        connections(Block::PulseGen)[i] =
            open(concat("PulseGen_Interface", i), concat("PulseGen ", i));
    }
}

void FpgaFace::checkClockRate() const {
    std::uint64_t rate = 0;
    require("FpgaFace() FAILED to read FPGA clock rate",
            readRow(fpga::rowOf(Register::ClockRate), 0, rate), __LINE__);
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

/** False for an index out of range, and without a device. A count may exceed what has been opened,
 *  and what lies in 32 bits of offset. */
bool FpgaFace::find(const fpga::Row& row, std::uint32_t index, Place& place) const {
    const auto& ofBlock = m_connections[static_cast<std::size_t>(row.block)];
    const std::uint64_t offset = row.offset + std::uint64_t{row.stride} * index;
    const std::size_t which = row.stride == 0 ? index : 0;
    if (!m_service || index >= m_counts[indexOf(row.bound)] || which >= ofBlock.size() ||
        offset > std::numeric_limits<std::uint32_t>::max()) {
        return false;
    }
    place = {ofBlock[which], static_cast<std::uint32_t>(offset)};
    return true;
}

RETURN_CODE_TYPE::Value FpgaFace::readRow(const fpga::Row& row, std::uint32_t index,
                                          std::uint64_t& value) const {
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ACTION;
    Place place{};
    value = 0;
    if (find(row, index, place)) {
        FACE::IOSS::Devmem::Register_Read payload{0, place.offset, row.width, 0};
        m_service->Read(place.connection, -1, payload, rc);
        if (rc == RETURN_CODE_TYPE::NO_ERROR) {
            value = payload.value & (~std::uint64_t{0} >> (64 - row.validBits));
        }
    }
    return rc;
}

bool FpgaFace::read(Register id, std::uint32_t index, std::uint64_t& value) const {
    return readRow(fpga::rowOf(id), index, value) == RETURN_CODE_TYPE::NO_ERROR;
}

bool FpgaFace::write(Register id, std::uint32_t index, std::uint64_t value) const {
    const fpga::Row& row = fpga::rowOf(id);
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ACTION;
    Place place{};
    if (find(row, index, place)) {
        m_service->Write(place.connection, -1, {place.offset, row.width, value}, rc);
    }
    return rc == RETURN_CODE_TYPE::NO_ERROR;
}

std::uint32_t FpgaFace::count(Register id) const {
    return m_counts[indexOf(fpga::rowOf(id).bound)];
}

std::uint64_t FpgaFace::get(Register id, std::uint32_t index) const {
    std::uint64_t value = 0;
    readRow(fpga::rowOf(id), index, value);
    return value;
}

std::uint32_t FpgaFace::get32(Register id, std::uint32_t index) const {
    return static_cast<std::uint32_t>(get(id, index));
}

std::uint32_t FpgaFace::getAndClear(Register id, std::uint32_t index) const {
    const std::uint32_t value = get32(id, index);
    write(id, index, 0);
    return value;
}
