#include "bench/FpgaFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <stdexcept>

namespace bench {
namespace {

constexpr const char* blockName = "TimeStamp_Interface";
constexpr auto step = std::chrono::milliseconds(1);

unsigned engines(const DeviceRoot& root) {
    unsigned count = 0;
    while (root.hasContainer(ioDevicesFile, "Ptfe_Interface" + std::to_string(count))) {
        ++count;
    }
    return count;
}

}  // namespace

FpgaFile::FpgaFile(const DeviceRoot& root) {
    const auto base = root.number(ioDevicesFile, blockName, "BaseAddress");
    const auto size = root.number(ioDevicesFile, blockName, "Size");
    if (base % sizeof(std::uint64_t) != 0 || size < SystemCount + sizeof(std::uint64_t)) {
        throw std::runtime_error("The time stamp block is too small, or at an odd address");
    }
    const auto page = static_cast<unsigned long>(::sysconf(_SC_PAGESIZE));
    const auto offset = base % page;
    m_length = offset + size;
    const std::string file = root.file("/dev/mem").string();
    const Descriptor memory(
        checked(::open(file.c_str(), O_RDWR | O_CLOEXEC), "Can't open " + file));
    m_mapping = ::mmap(nullptr, m_length, PROT_READ | PROT_WRITE, MAP_SHARED, memory.get(),
                       static_cast<off_t>(base - offset));
    if (m_mapping == MAP_FAILED) {
        checked(-1, "Can't map " + file);
    }
    m_block = static_cast<std::byte*>(m_mapping) + offset;
    write(ClockRate, ticksPerSecond);
    write(Uarts, 4);
    write(Ptfes, engines(root));
    write(Pulses, 2);
    write(PeripheralRegisters, 16);
    m_counter = std::thread([this] { run(); });
}

FpgaFile::~FpgaFile() {
    utilities::MutexLock lock(m_mutex);
    m_stopped = true;
    m_changed.notify_all();
    lock.unlock();
    m_counter.join();
    ::munmap(m_mapping, m_length);
}

std::uint64_t FpgaFile::read(Register reg) const {
    return std::atomic_ref(*reinterpret_cast<std::uint64_t*>(m_block + reg)).load();
}

void FpgaFile::write(Register reg, std::uint64_t value) {
    std::atomic_ref(*reinterpret_cast<std::uint64_t*>(m_block + reg)).store(value);
}

void FpgaFile::run() {
    using Ticks = std::chrono::duration<std::uint64_t, std::ratio<1, ticksPerSecond>>;
    utilities::MutexLock lock(m_mutex);
    while (!m_stopped) {
        const auto now = std::chrono::steady_clock::now();
        write(SystemCount, std::chrono::duration_cast<Ticks>(now - m_start).count());
        m_changed.wait_until(m_mutex, now + step);
    }
}

}  // namespace bench
