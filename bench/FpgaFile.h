/** The FPGA's registers in the file dev/mem of a device root. */
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <thread>

#include "bench/DeviceRoot.h"
#include "utilities/Mutex.h"

namespace bench {

/** Keeps the time stamp block as the hardware would: clock rate, what the FPGA has, and a system
 *  count that runs at the clock rate of the steady clock, brought up about every millisecond by a
 *  thread of its own until the object goes. `read` and `write` may be called from any thread. */
class FpgaFile {
public:
    static constexpr std::uint64_t ticksPerSecond = 58982400;

    /** Offsets in the time stamp block [byte], each register 64 bits wide. */
    enum Register : std::size_t {
        ClockRate = 0,
        Uarts = 8,
        Ptfes = 16,
        Pulses = 24,
        PeripheralRegisters = 32,
        SystemCount = 128
    };

    /** Maps the file and fills the block that the root's I/O devices file places. Counts two time
     *  and frequency engines when that file has them. Raises std::runtime_error or what is derived
     *  from it. */
    explicit FpgaFile(const DeviceRoot& root);
    ~FpgaFile();
    FpgaFile(const FpgaFile&) = delete;
    FpgaFile& operator=(const FpgaFile&) = delete;

    std::uint64_t read(Register reg) const;
    /** A written SystemCount stands until the thread brings it up again. */
    void write(Register reg, std::uint64_t value);

private:
    void run() EXCLUDES(m_mutex);

    std::size_t m_length = 0;
    void* m_mapping = nullptr;
    std::byte* m_block = nullptr;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();

    utilities::Mutex m_mutex;
    utilities::Condition m_changed;
    bool m_stopped GUARDED_BY(m_mutex) = false;
    std::thread m_counter;
};

}  // namespace bench
