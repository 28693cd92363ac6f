#include "bench/FpgaFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace bench {
namespace {

constexpr auto pace = std::chrono::milliseconds(1);
constexpr std::uint32_t uarts = 4;
constexpr std::uint32_t pulses = 2;
constexpr std::uint64_t engineStatus = 1;   // a second has begun
constexpr std::uint64_t engineInReset = 1;  // of its control

/** Four characters as a register has them, the first in the top byte. */
constexpr std::uint32_t characters(const char (&text)[5]) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        value = value << 8U | static_cast<unsigned char>(text[i]);
    }
    return value;
}

constexpr std::pair<fpga::Register, std::uint64_t> identity[] = {
    {fpga::Register::FirmwareName1, characters("BENC")},
    {fpga::Register::FirmwareName2, characters("HSIM")},
    {fpga::Register::BuildDate, 0x20240307},
    {fpga::Register::BuildTime, 0x1205},
    {fpga::Register::PartNumber1, characters("0000")},
    {fpga::Register::PartNumber2, characters("0000")},
    {fpga::Register::PartNumber3, characters("0001")},
    {fpga::Register::Revision, characters("A001")},
    {fpga::Register::ClockRate, FpgaFile::ticksPerSecond},
    {fpga::Register::Uarts, uarts},
    {fpga::Register::Pulses, pulses},
    {fpga::Register::PeripheralRegisters, 16},
};

}  // namespace

FpgaFile::Mapping::Mapping(const DeviceRoot& root, const std::string& container)
    : m_size(root.number(ioDevicesFile, container, "Size")) {
    const auto base = root.number(ioDevicesFile, container, "BaseAddress");
    const auto offset = base % static_cast<unsigned long>(::sysconf(_SC_PAGESIZE));
    if (base % sizeof(std::uint64_t) != 0) {
        throw std::runtime_error(container + " lies at an odd address");
    }
    m_length = offset + m_size;
    const std::string file = root.file("/dev/mem").string();
    const Descriptor memory(
        checked(::open(file.c_str(), O_RDWR | O_CLOEXEC), "Can't open " + file));
    m_start = ::mmap(nullptr, m_length, PROT_READ | PROT_WRITE, MAP_SHARED, memory.get(),
                     static_cast<off_t>(base - offset));
    if (m_start == MAP_FAILED) {
        checked(-1, "Can't map " + file);
    }
    m_block = static_cast<std::byte*>(m_start) + offset;
}

FpgaFile::Mapping::~Mapping() {
    if (m_start != nullptr) {
        ::munmap(m_start, m_length);
    }
}

FpgaFile::Mapping::Mapping(Mapping&& other) noexcept
    : m_start(std::exchange(other.m_start, nullptr)),
      m_length(other.m_length),
      m_block(other.m_block),
      m_size(other.m_size) {}

template <typename Word>
Word* FpgaFile::Mapping::at(std::uint64_t offset) const {
    return m_size < sizeof(Word) || offset > m_size - sizeof(Word)
               ? nullptr
               : reinterpret_cast<Word*>(m_block + offset);
}

FpgaFile::FpgaFile(const DeviceRoot& root) {
    for (std::size_t block = 0; block < fpga::blockCount; ++block) {
        const std::string name(fpga::containers[block]);
        const bool isSingle = block < fpga::singleBlockCount;
        for (unsigned index = 0; !isSingle || index == 0; ++index) {
            const std::string container = isSingle ? name : name + std::to_string(index);
            if (!root.hasContainer(ioDevicesFile, container)) {
                break;
            }
            m_blocks[block].emplace_back(root, container);
        }
    }
    const auto& timeStamps = m_blocks[static_cast<std::size_t>(fpga::Block::TimeStamp)];
    if (timeStamps.empty() ||
        timeStamps[0].at<std::uint64_t>(fpga::rowOf(SystemCount).offset) == nullptr) {
        throw std::runtime_error("The time stamp block is not there, or too small");
    }
    fill();
    m_counter = std::thread([this] { run(); });
}

FpgaFile::~FpgaFile() {
    utilities::MutexLock lock(m_mutex);
    m_stopped = true;
    m_changed.notify_all();
    lock.unlock();
    m_counter.join();
}

template <typename Work>
void FpgaFile::access(Register reg, std::uint32_t index, const Work& work) const {
    const fpga::Row& row = fpga::rowOf(reg);
    const auto& blocks = m_blocks[static_cast<std::size_t>(row.block)];
    const std::size_t which = row.stride == 0 ? index : 0;
    if (which >= blocks.size()) {
        return;
    }
    const std::uint64_t offset = row.offset + std::uint64_t{row.stride} * index;
    if (row.width == 64) {
        if (auto* const word = blocks[which].at<std::uint64_t>(offset)) {
            work(std::atomic_ref(*word));
        }
    } else if (auto* const word = blocks[which].at<std::uint32_t>(offset)) {
        work(std::atomic_ref(*word));
    }
}

std::uint64_t FpgaFile::read(Register reg, std::uint32_t index) const {
    std::uint64_t value = 0;
    access(reg, index, [&](auto word) { value = word.load(); });
    return value;
}

void FpgaFile::write(Register reg, std::uint64_t value, std::uint32_t index) {
    access(reg, index,
           [&](auto word) { word.store(static_cast<typename decltype(word)::value_type>(value)); });
}

void FpgaFile::fill() {
    for (const auto& [reg, value] : identity) {
        write(reg, value);
    }
    const auto engines = m_blocks[static_cast<std::size_t>(fpga::Block::Ptfe)].size();
    write(Ptfes, engines);
    for (std::uint32_t engine = 0; engine < engines; ++engine) {
        write(PtfeFirmwareId, 0x5054464500000000 + engine, engine);
        write(PtfeFrequency, ticksPerSecond - 1, engine);
        write(PtfeStatus, engineStatus, engine);
        write(PtfeDefaultNcoRate, std::uint64_t{1} << 40U, engine);
        write(PtfeNcoRate, std::uint64_t{1} << 40U, engine);
        write(PulsePeriod, ticksPerSecond - 1, engine);
    }
}

void FpgaFile::run() {
    using Ticks = std::chrono::duration<std::uint64_t, std::ratio<1, ticksPerSecond>>;
    utilities::MutexLock lock(m_mutex);
    while (!m_stopped) {
        const auto now = std::chrono::steady_clock::now();
        step(std::chrono::duration_cast<Ticks>(now - m_start).count());
        m_changed.wait_until(m_mutex, now + pace);
    }
}

void FpgaFile::step(std::uint64_t ticks) {
    write(SystemCount, ticks);
    const std::uint64_t second = ticks / ticksPerSecond;
    const bool isNewSecond = second != m_second;
    m_second = second;
    for (std::uint32_t pulse = 0; isNewSecond && pulse < pulses; ++pulse) {
        write(PulseTime, second * ticksPerSecond, pulse);
    }
    for (std::uint32_t uart = 0; isNewSecond && uart < uarts; ++uart) {
        write(UartDataTime, second * ticksPerSecond + read(UartDelay, uart), uart);
    }
    const bool start = read(EngineStart) != 0;
    const auto engines = m_blocks[static_cast<std::size_t>(fpga::Block::Ptfe)].size();
    for (std::uint32_t engine = 0; engine < engines; ++engine) {
        if (start) {
            write(PtfeNcoRate,
                  read(PtfeDefaultNcoRate, engine) & fpga::maskOf(fpga::rowOf(PtfeNcoRate)),
                  engine);
        }
        stepEngine(engine, ticks, isNewSecond);
    }
    if (start) {
        write(EngineStart, 0);
    }
}

void FpgaFile::stepEngine(std::uint32_t engine, std::uint64_t ticks, bool isNewSecond) {
    if ((read(PtfeControl, engine) & engineInReset) != 0) {
        for (const Register reg : {PtfeStatus, PtfeNcoPhase, PtfeCycles}) {
            write(reg, 0, engine);
        }
        return;
    }
    write(PtfeNcoPhase, ticks & fpga::maskOf(fpga::rowOf(PtfeNcoPhase)), engine);
    if (isNewSecond) {
        write(PtfeCycles, read(PtfeCycles, engine) + 1, engine);
        // In one step: who clears it meanwhile must not lose the second.
        access(PtfeStatus, engine, [](auto word) { word |= engineStatus; });
    }
}

}  // namespace bench
