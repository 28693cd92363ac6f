/** The receiver's road against its floors: how long from a frame on the queue to the Tell call, and
 *  what a frame costs. Ours and the floor are measured in turns, on the same processors.
 *
 *      bench_frames [--check]     with --check, exit status 1 when a limit is passed
 *
 *  The server's VICTORY library only notes the time. For the latency the server has a process of
 *  its own, as beside a receiver, and its floor is a thread of the same process.
 */
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
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

/** What the processes of a measurement tell each other. */
struct Shared {
    // What the queue thread has seen at its last Tell of a status record.
    std::atomic<long> told{0};
    std::atomic<Clock::time_point> toldAt{};
    std::atomic<long> allocations{0};
    std::atomic<double> userSeconds{0};
    // What the bare loop has read.
    std::atomic<long> bytes{0};
    std::atomic<Clock::time_point> readAt{};
    std::atomic<bool> up{false};  // the server runs
};
Shared& g_shared =
    *new (mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
        Shared;

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
    g_shared.toldAt = Clock::now();
    g_shared.allocations = t_allocations;
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    g_shared.userSeconds = static_cast<double>(usage.ru_utime.tv_sec) +
                           static_cast<double>(usage.ru_utime.tv_usec) * 1e-6;
    ++g_shared.told;
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
    while (counter < count) {
        std::this_thread::sleep_for(200us);
    }
}

/** The bare loop: poll, read, a pause of 100 microseconds. Its thread inherits the processor. */
class BareLoop {
public:
    explicit BareLoop(const std::string& path)
        : m_fd(open(path.c_str(), O_RDWR | O_CLOEXEC)), m_thread([this] { run(); }) {}
    ~BareLoop() {
        m_stop = true;
        m_thread.join();
        close(m_fd);
    }

private:
    void run() const {
        std::vector<char> buffer(131072);
        pollfd entry{m_fd, POLLIN, 0};
        while (!m_stop) {
            if (poll(&entry, 1, 50) <= 0) {
                continue;
            }
            if (const ssize_t got = read(m_fd, buffer.data(), buffer.size()); got > 0) {
                g_shared.readAt = Clock::now();
                g_shared.bytes += got;
                const timespec pause{0, 100000};
                nanosleep(&pause, nullptr);
            }
        }
    }
    const int m_fd;
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

/** What stands around a server, without the FPGA's thread: nothing here reads its count. */
struct Surroundings {
    Surroundings() {
        const bench::FpgaFile fpga(root);
        setenv("HALCYRINE_ROOT", root.path().c_str(), 1);
    }
    bench::Bytes record(int id, int words, double time) {
        return ports.record(bench::FrameBuilder(static_cast<std::uint16_t>(id), 0x9000,
                                                static_cast<std::uint16_t>(words))
                                .pdpDouble(0, time)
                                .frame());
    }
    void write(const bench::Bytes& bytes) { ports.sendRaw(Channel::TyrHc, bytes); }

    bench::DeviceRoot root;
    bench::ReceiverPorts ports{root};
};

/** A server, its queue thread on one processor. */
class Server {
public:
    Server(const Surroundings& around, int processor) {
        pinTo(processor);
        FACE::RETURN_CODE_TYPE::Value rc{};
        m_server.Configure(around.root.serverArgument().c_str(), rc);
        m_server.Framework_Connect("", rc);
        if (rc != FACE::RETURN_CODE_TYPE::NO_ERROR) {
            std::puts("The server does not come up.");
            std::exit(1);
        }
        m_server.Request_State_Transition(FACE::LCM::Halcyrine::RequestedState::START, rc);
    }
    ~Server() {
        FACE::RETURN_CODE_TYPE::Value rc{};
        m_server.Framework_Disconnect(rc);
    }

private:
    VGpsReceiverServer m_server;
};

/** A server and the bare loop, in a process of their own, on one processor. */
class FarServer {
public:
    FarServer(const Surroundings& around, const std::string& barePath, int processor) {
        g_shared.up = false;
        if (pipe2(m_end, O_CLOEXEC) != 0) {
            std::exit(1);
        }
        std::fflush(stdout);
        m_pid = fork();
        if (m_pid == 0) {
            close(m_end[1]);
            {
                const Server server(around, processor);
                const BareLoop bare(barePath);
                g_shared.up = true;
                char none = 0;
                [[maybe_unused]] const auto n =
                    read(m_end[0], &none, 1);  // until the other end goes
            }
            _exit(0);
        }
        while (!g_shared.up) {
            std::this_thread::sleep_for(1ms);
        }
    }
    ~FarServer() {
        close(m_end[1]);
        close(m_end[0]);
        waitpid(m_pid, nullptr, 0);
    }
    FarServer(const FarServer&) = delete;
    FarServer& operator=(const FarServer&) = delete;

private:
    int m_end[2]{};
    pid_t m_pid = -1;
};

/** From the write of the 8504 that completes a pair to the Tell, and to the end of a bare read, in
 *  turns whose order and pauses are drawn: what an idle processor has gone to sleep for decides how
 *  long it takes to wake up. `gap` lies between the two frames: without one they are read together,
 *  a short one has the second come while the reader pauses, a long one while it sleeps. */
void measureLatency(const char* where, int writer, int reader, std::chrono::microseconds gap) {
    Surroundings around;
    const std::string barePath = around.root.path() / "bare";
    mkfifo(barePath.c_str(), 0600);
    const int bare = open(barePath.c_str(), O_RDWR | O_CLOEXEC);
    const int queue = open(around.root.file("/dev/mcs0").c_str(), O_RDWR | O_CLOEXEC);
    g_shared.told = 0;
    g_shared.bytes = 0;
    const FarServer server(around, barePath, reader);
    pinTo(writer);
    constexpr int rounds = 5000;
    std::mt19937 random(1);
    std::uniform_int_distribution<int> pauses(500, 4500);
    std::vector<double> ours;
    std::vector<double> floor;
    for (int i = 1; i <= rounds; ++i) {
        const bench::Bytes first = around.record(5040, 88, i);
        const bench::Bytes second = around.record(8504, 200, i);
        const auto size = static_cast<long>(first.size() + second.size());
        const auto write = [](int descriptor, const bench::Bytes& bytes) {
            [[maybe_unused]] const auto n = ::write(descriptor, bytes.data(), bytes.size());
        };
        const auto writePair = [&](int descriptor) {
            std::this_thread::sleep_for(std::chrono::microseconds(pauses(random)));
            write(descriptor, first);
            if (gap > 0us) {
                std::this_thread::sleep_for(gap);
            }
            const auto begin = Clock::now();
            write(descriptor, second);
            return begin;
        };
        const auto since = [](Clock::time_point begin, Clock::time_point end) {
            return std::chrono::duration<double, std::micro>(end - begin).count();
        };
        const auto measureOurs = [&] {
            const auto begin = writePair(queue);
            waitForCount(g_shared.told, i);
            ours.push_back(since(begin, g_shared.toldAt));
        };
        const auto measureFloor = [&] {
            const auto begin = writePair(bare);
            waitForCount(g_shared.bytes, i * size);
            floor.push_back(since(begin, g_shared.readAt));
        };
        const bool oursFirst = random() % 2 == 0;
        oursFirst ? measureOurs() : measureFloor();
        oursFirst ? measureFloor() : measureOurs();
    }
    close(queue);
    close(bare);
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
double userSeconds(Surroundings& around, const bench::Bytes& block, int blocks, double& time) {
    const auto pair = [&] {
        const long before = g_shared.told;
        time += 10;
        around.write(around.record(5040, 88, time));
        around.write(around.record(8504, 200, time));
        waitForCount(g_shared.told, before + 1);
        std::this_thread::sleep_for(20ms);
        return g_shared.userSeconds.load();
    };
    pair();
    const double begin = pair();
    const int queue = open(around.root.file("/dev/mcs0").c_str(), O_RDWR | O_CLOEXEC);
    for (int i = 0; i < blocks; ++i) {
        // As one block: the queue is empty before, so that one read takes all of it.
        for (int waiting = 1; waiting != 0;) {
            ioctl(queue, FIONREAD, &waiting);
            std::this_thread::sleep_for(waiting != 0 ? 50us : 0us);
        }
        around.write(block);
    }
    close(queue);
    std::this_thread::sleep_for(100ms);
    return pair() - begin;
}

void append(bench::Bytes& block, const bench::Bytes& record) {
    block.insert(block.end(), record.begin(), record.end());
}

void measureCost() {
    Surroundings around;
    const Server server(around, 1);
    pinTo(0);
    double time = 1e6;
    constexpr int blocks = 20000;

    // Frames that complete nothing: a 5040 and an 8504 that are never of one moment.
    bench::Bytes lone;
    for (int i = 0; i < 125; ++i) {
        append(lone, i % 2 == 0 ? around.record(5040, 88, 1) : around.record(8504, 200, 100));
    }
    const double frame = userSeconds(around, lone, blocks, time) / (125.0 * blocks);
    row("user CPU of a frame in a block of 125 [us]", frame * 1e6, 0, 0.55);

    bench::Bytes pairs;
    for (int i = 0; i < 62; ++i) {
        append(pairs, around.record(5040, 88, 1));
        append(pairs, around.record(8504, 200, 1));
    }
    const double pair = userSeconds(around, pairs, blocks, time) / (62.0 * blocks);
    row("user CPU of a pair, encoded and told [us]", pair * 1e6, 0, 0.9);

    // All seven messages, after a warm-up of each.
    bench::ReceiverState state;
    state.missionDuration = 48;
    state.warning = bench::Warning{80, "A WARNING WITH WORDS"};
    const auto cycle = [&] {
        state.timeOfValidity += 1;
        for (const bench::Bytes& bytes : bench::cycleFrames(state)) {
            around.write(around.ports.record(bytes));
        }
    };
    for (int i = 0; i < 100; ++i) {
        cycle();
    }
    std::this_thread::sleep_for(100ms);
    const long warm = g_shared.allocations;
    const long kilobytes = residentKilobytes();
    constexpr int cycles = 1000000 / 7;
    for (int i = 0; i < cycles; ++i) {
        cycle();
    }
    std::this_thread::sleep_for(200ms);
    row("heap allocations in a million frames", static_cast<double>(g_shared.allocations - warm), 0,
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
    measureLatency("8504 in the pause, two processors", 0, 1, 20us);
    measureLatency("8504 in the pause, one processor", 0, 0, 20us);
    measureLatency("8504 half a ms late, two processors", 0, 1, 500us);
    measureLatency("8504 half a ms late, one processor", 0, 0, 500us);
    measureCost();
    measureStart(std::filesystem::canonical("/proc/self/exe").parent_path() / "VGpsReceiverServer");
    return g_failed && argc > 1 && std::strcmp(argv[1], "--check") == 0 ? 1 : 0;
}
