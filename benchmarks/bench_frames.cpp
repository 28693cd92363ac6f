/** The receiver's road against its floors: how long from a frame on the queue to the Tell call, and
 *  what a frame costs. Ours and the floor are measured in turns, on the same processors.
 *
 *      bench_frames [--check]     with --check, exit status 1 when a limit is passed
 *
 *  The server runs in this process with a VICTORY library that only notes the time.
 */
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <new>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "bench/DeviceRoot.h"
#include "bench/FpgaFile.h"
#include "bench/Frames.h"
#include "bench/ReceiverPorts.h"
#include "bench/ServerProcess.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;
using Channel = bench::ReceiverPorts::Channel;

thread_local long t_allocations = 0;

/** What the queue thread has seen at its last Tell of a status record. */
struct LastTell {
    std::atomic<long> count{0};
    std::atomic<Clock::time_point> when{};
    std::atomic<long> allocations{0};
    std::atomic<double> userSeconds{0};
};
LastTell g_told;

}  // namespace

void* operator new(std::size_t size) {
    ++t_allocations;
    if (void* memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void vgpssTellStatusData(VgpssService*, unsigned, VgpscReceiverStatusData, const VgpscDateTime*) {
    g_told.when = Clock::now();
    g_told.allocations = t_allocations;
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    g_told.userSeconds = static_cast<double>(usage.ru_utime.tv_sec) +
                         static_cast<double>(usage.ru_utime.tv_usec) * 1e-6;
    ++g_told.count;
    g_told.count.notify_all();
}

namespace {

void pinTo(int processor) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(processor, &set);
    sched_setaffinity(0, sizeof set, &set);
}

/** Sleeps until `counter` has reached `count`: the processor may be the other side's too. */
void waitForCount(const std::atomic<long>& counter, long count) {
    for (long now = counter; now < count; now = counter) {
        counter.wait(now);
    }
}

/** The bare loop: poll, read, a pause of 100 microseconds. */
class BareLoop {
public:
    BareLoop(const std::string& path, int processor) {
        mkfifo(path.c_str(), 0600);
        m_write = open(path.c_str(), O_RDWR);
        m_thread = std::thread([this, processor] {
            pinTo(processor);
            run();
        });
    }
    ~BareLoop() {
        m_stop = true;
        m_thread.join();
        close(m_write);
    }
    void write(const bench::Bytes& block) const {
        [[maybe_unused]] const auto n = ::write(m_write, block.data(), block.size());
    }
    std::atomic<long> bytes{0};  // read so far
    std::atomic<Clock::time_point> when{};

private:
    void run() {
        std::vector<char> buffer(131072);
        pollfd entry{m_write, POLLIN, 0};
        while (!m_stop) {
            if (poll(&entry, 1, 50) <= 0) {
                continue;
            }
            if (const ssize_t got = read(m_write, buffer.data(), buffer.size()); got > 0) {
                when = Clock::now();
                bytes += got;
                bytes.notify_all();
                const timespec pause{0, 100000};
                nanosleep(&pause, nullptr);
            }
        }
    }
    int m_write = -1;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

struct Percentiles {
    double p50, p99;
};
Percentiles percentilesOf(std::vector<double> values) {
    std::ranges::sort(values);
    return {values[values.size() / 2], values[values.size() * 99 / 100]};
}

bool g_failed = false;

void row(const char* what, double ours, double floor, double limit) {
    const double ratio = floor > 0 ? ours / floor : ours;
    const bool within = ratio <= limit;
    g_failed = g_failed || !within;
    std::printf("%-44s %10.2f %10.2f %8.3f %8.3f  %s\n", what, ours, floor, ratio, limit,
                within ? "ok" : "ABOVE");
}

/** A server in this process, its queue thread on one processor. */
class Unit {
public:
    explicit Unit(int processor) {
        setenv("HALCYRINE_ROOT", root.path().c_str(), 1);
        pinTo(processor);
        FACE::RETURN_CODE_TYPE::Value rc{};
        server.Configure(root.serverArgument().c_str(), rc);
        server.Framework_Connect("", rc);
        if (rc != FACE::RETURN_CODE_TYPE::NO_ERROR) {
            std::puts("The server does not come up.");
            std::exit(1);
        }
        server.Request_State_Transition(FACE::LCM::Halcyrine::RequestedState::START, rc);
    }
    ~Unit() {
        FACE::RETURN_CODE_TYPE::Value rc{};
        server.Framework_Disconnect(rc);
    }
    bench::Bytes record(int id, int words, double time) {
        return ports.record(bench::FrameBuilder(static_cast<std::uint16_t>(id), 0x9000,
                                                static_cast<std::uint16_t>(words))
                                .pdpDouble(0, time)
                                .frame());
    }
    void write(const bench::Bytes& bytes) { ports.sendRaw(Channel::TyrHc, bytes); }
    /** As one block: the queue is empty before, so that one read takes all of it. */
    void writeBlock(const bench::Bytes& bytes) {
        for (int waiting = 1; waiting != 0;) {
            ioctl(m_queue, FIONREAD, &waiting);
            std::this_thread::sleep_for(waiting != 0 ? 50us : 0us);
        }
        write(bytes);
    }

    bench::DeviceRoot root;
    bench::FpgaFile fpga{root};
    bench::ReceiverPorts ports{root};
    VGpsReceiverServer server;

private:
    const int m_queue = open(root.file("/dev/mcs0").c_str(), O_RDWR | O_CLOEXEC);
};

/** From the write of the 8504 that completes a pair to the Tell, and to the end of a bare read, in
 *  turns whose order and pauses are drawn: what an idle processor has gone to sleep for decides how
 *  long it takes to wake up. `gap` lies between the two frames; a receiver leaves none. */
void measureLatency(const char* where, int writer, int reader, std::chrono::microseconds gap) {
    Unit unit(reader);
    BareLoop bare((unit.root.path() / "bare").string(), reader);
    pinTo(writer);
    constexpr int rounds = 2000;
    std::mt19937 random(1);
    std::uniform_int_distribution<int> pauses(500, 4500);
    std::vector<double> ours;
    std::vector<double> floor;
    long bytes = 0;
    const auto microsecondsTo = [](const auto& writePair, const auto& waitForEnd) {
        const Clock::time_point begin = writePair();
        return std::chrono::duration<double, std::micro>(waitForEnd() - begin).count();
    };
    for (int i = 1; i <= rounds; ++i) {
        const bench::Bytes first = unit.record(5040, 88, i);
        const bench::Bytes second = unit.record(8504, 200, i);
        bytes += static_cast<long>(first.size() + second.size());
        const auto pairTo = [&](auto& target) {
            return [&] {
                std::this_thread::sleep_for(std::chrono::microseconds(pauses(random)));
                target.write(first);
                if (gap > 0us) {
                    std::this_thread::sleep_for(gap);
                }
                const auto begin = Clock::now();
                target.write(second);
                return begin;
            };
        };
        const auto measureOurs = [&] {
            const long before = g_told.count;
            ours.push_back(microsecondsTo(pairTo(unit), [&] {
                waitForCount(g_told.count, before + 1);
                return g_told.when.load();
            }));
        };
        const auto measureFloor = [&] {
            floor.push_back(microsecondsTo(pairTo(bare), [&] {
                waitForCount(bare.bytes, bytes);
                return bare.when.load();
            }));
        };
        const bool oursFirst = random() % 2 == 0;
        oursFirst ? measureOurs() : measureFloor();
        oursFirst ? measureFloor() : measureOurs();
    }
    const Percentiles a = percentilesOf(ours);
    const Percentiles b = percentilesOf(floor);
    row((std::string(where) + ", p50 [us]").c_str(), a.p50, b.p50, 1.10);
    row((std::string(where) + ", p99 [us]").c_str(), a.p99, b.p99, 1.30);
}

long residentKilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) {
            return std::stol(line.substr(6));
        }
    }
    return 0;
}

/** Sends `block` again and again, then a pair; user seconds of the queue thread from Tell to Tell.
 */
double userSeconds(Unit& unit, const bench::Bytes& block, int blocks, double& time) {
    const auto pair = [&] {
        const long before = g_told.count;
        time += 10;
        unit.write(unit.record(5040, 88, time));
        unit.write(unit.record(8504, 200, time));
        waitForCount(g_told.count, before + 1);
        std::this_thread::sleep_for(20ms);
        return g_told.userSeconds.load();
    };
    pair();
    const double begin = pair();
    for (int i = 0; i < blocks; ++i) {
        unit.writeBlock(block);
    }
    std::this_thread::sleep_for(100ms);
    return pair() - begin;
}

void append(bench::Bytes& block, const bench::Bytes& record) {
    block.insert(block.end(), record.begin(), record.end());
}

void measureCost() {
    Unit unit(1);
    pinTo(0);
    double time = 1e6;
    constexpr int blocks = 4000;

    // Frames that complete nothing: a 5040 and an 8504 that are never of one moment.
    bench::Bytes lone;
    for (int i = 0; i < 125; ++i) {
        append(lone, i % 2 == 0 ? unit.record(5040, 88, 1) : unit.record(8504, 200, 100));
    }
    const double frame = userSeconds(unit, lone, blocks, time) / (125.0 * blocks);
    row("user CPU of a frame in a block of 125 [us]", frame * 1e6, 0, 0.55);

    bench::Bytes pairs;
    for (int i = 0; i < 62; ++i) {
        append(pairs, unit.record(5040, 88, 1));
        append(pairs, unit.record(8504, 200, 1));
    }
    const double pair = userSeconds(unit, pairs, blocks, time) / (62.0 * blocks);
    row("user CPU of a pair, encoded and told [us]", pair * 1e6, 0, 0.9);

    // All seven messages, after a warm-up of each.
    bench::ReceiverState state;
    state.missionDuration = 48;
    state.warning = bench::Warning{80, "A WARNING WITH WORDS"};
    const auto cycle = [&] {
        state.timeOfValidity += 1;
        for (const bench::Bytes& bytes : bench::cycleFrames(state)) {
            unit.write(unit.ports.record(bytes));
        }
    };
    for (int i = 0; i < 100; ++i) {
        cycle();
    }
    std::this_thread::sleep_for(100ms);
    const long warm = g_told.allocations;
    const long kilobytes = residentKilobytes();
    constexpr int cycles = 1000000 / 7;
    for (int i = 0; i < cycles; ++i) {
        cycle();
    }
    std::this_thread::sleep_for(200ms);
    row("heap allocations in a million frames", static_cast<double>(g_told.allocations - warm), 0,
        0);
    row("growth over a million frames [KiB]", static_cast<double>(residentKilobytes() - kilobytes),
        0, 512);
}

bool catchesTermination(int pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("SigCgt:")) {
            return (std::stoull(line.substr(7), nullptr, 16) >> (SIGTERM - 1) & 1U) != 0;
        }
    }
    return false;
}

void measureStart(const std::filesystem::path& server) {
    std::vector<double> times;
    for (int i = 0; i < 10; ++i) {
        bench::DeviceRoot root;
        bench::FpgaFile fpga(root);
        bench::ReceiverPorts ports(root);
        const auto begin = Clock::now();
        bench::ServerProcess process(
            {server, {root.serverArgument()}, {{"HALCYRINE_ROOT", root.path().string()}}});
        while (!catchesTermination(process.pid()) && Clock::now() - begin < 5s) {
            std::this_thread::sleep_for(200us);
        }
        times.push_back(std::chrono::duration<double>(Clock::now() - begin).count());
    }
    row("exec to RUNNING, p50 of 10 [s]", percentilesOf(times).p50, 0, 0.2);
}

}  // namespace

int main(int argc, char* argv[]) {
    std::printf("%-44s %10s %10s %8s %8s\n", "what", "ours", "floor", "ratio", "limit");
    measureLatency("pair to Tell, two processors", 0, 1, 0us);
    measureLatency("pair to Tell, one processor", 0, 0, 0us);
    measureLatency("8504 half a ms late, two processors", 0, 1, 500us);
    measureLatency("8504 half a ms late, one processor", 0, 0, 500us);
    measureCost();
    measureStart(std::filesystem::canonical("/proc/self/exe").parent_path() / "VGpsReceiverServer");
    return g_failed && argc > 1 && std::strcmp(argv[1], "--check") == 0 ? 1 : 0;
}
