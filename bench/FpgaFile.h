/** The FPGA's registers in the file dev/mem of a device root. */
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "bench/DeviceRoot.h"
#include "platform/FpgaRegisters.h"
#include "utilities/Mutex.h"

namespace bench {

/** Keeps all register blocks as the hardware would, brought up about every millisecond by a thread
 *  of its own until the object goes:
 *
 *  - Clock rate, what the FPGA has and who made it stand there from the start. The system count
 *    runs at the clock rate of the steady clock.
 *  - On each second, pulses and UART data get their time stamps, the UART's behind its delay, and
 *    every engine counts a cycle and sets bit 0 of its status until that is cleared.
 *  - While bit 0 of its control is set an engine stands still, with everything at 0. A reset that
 *    is shorter than a millisecond passes unseen: a file tells nobody that it is written.
 *  - The start of the engines (time stamp block, 64) clears itself and has them take their default
 *    rate.
 *
 *  What is written elsewhere stays. `read` and `write` may be called from any thread.
 */
class FpgaFile {
public:
    using Register = fpga::Register;
    using enum fpga::Register;

    static constexpr std::uint64_t ticksPerSecond = 58982400;

    /** Maps the blocks that the root's I/O devices file places, the time stamp block at least, and
     *  fills them. Counts as many time and frequency engines as that file has. Raises
     *  std::runtime_error or what is derived from it. */
    explicit FpgaFile(const DeviceRoot& root);
    ~FpgaFile();
    FpgaFile(const FpgaFile&) = delete;
    FpgaFile& operator=(const FpgaFile&) = delete;

    /** 0 for a register that has no place in its block. */
    std::uint64_t read(Register reg, std::uint32_t index = 0) const;
    /** A written SystemCount stands until the thread brings it up again. */
    void write(Register reg, std::uint64_t value, std::uint32_t index = 0);

private:
    class Mapping {
    public:
        Mapping(const DeviceRoot& root, const std::string& container);
        ~Mapping();
        Mapping(Mapping&& other) noexcept;
        Mapping& operator=(Mapping&&) = delete;

        /** Null when the register doesn't lie in the block. */
        template <typename Word>
        Word* at(std::uint64_t offset) const;

    private:
        void* m_start = nullptr;
        std::size_t m_length = 0;
        std::byte* m_block = nullptr;
        std::size_t m_size = 0;
    };

    template <typename Work>
    void access(Register reg, std::uint32_t index, const Work& work) const;
    void fill();
    void run() EXCLUDES(m_mutex);
    void step(std::uint64_t ticks);
    void stepEngine(std::uint32_t engine, std::uint64_t ticks, bool isNewSecond);

    std::array<std::vector<Mapping>, fpga::blockCount> m_blocks;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::uint64_t m_second = 0;  ///< the counting thread's

    utilities::Mutex m_mutex;
    utilities::Condition m_changed;
    bool m_stopped GUARDED_BY(m_mutex) = false;
    std::thread m_counter;
};

}  // namespace bench
