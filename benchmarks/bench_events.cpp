/** What an event costs the thread that reports it: a warning into a full queue with a full history
 *  behind it, against the same with both empty, in turns; and from eight threads at once.
 *
 *      bench_events [--check]     with --check, exit status 1 when a limit is passed
 *
 *  Nobody publishes here: a caller that waited for the publisher would never return.
 */
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include "ASPN/EventQueue.h"
#include "ASPN/FaultHysteresis.h"

namespace {

constexpr int rounds = 200;
constexpr int eventsPerRound = 5;  // the queue holds ten: an empty one stays short of full
constexpr int history = 2000;
constexpr int capacity = 10;
constexpr int threads = 8;
constexpr int eventsPerThread = 100000;

/** What SendEvent does with a warning, on a queue and a history that can be made anew. */
class Reporter {
public:
    Reporter() { m_hysteresis.OkInitFaultHysteresis(180, 16, history); }
    void send(int line) {
        auto type = EventTypes::EVENT_WARNING;
        std::string text = m_hysteresis.Check(
            type, "src/VICTORY/VGpsReceiverServer/VGpsReceiverServerCommands.cpp", line, m_text);
        m_queue.push_back(type, std::move(text));
    }
    void fill() {
        for (int i = 0; i < history + capacity; ++i) {
            send(i);
        }
    }

private:
    const std::string m_text =
        "VGpsReceiverServer: Could not publish CommandResponse for TOV = 1234567, TYRN_CV_ZEROIZE";
    FaultHysteresis m_hysteresis;
    ASPN2::EventQueue m_queue{capacity, EventTypes::EVENT_INFO, std::chrono::seconds(300)};
};

/** Processor time of the calling thread [ns]. */
double threadTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

/** Processor time of one event [ns]. */
double timeOf(Reporter& reporter, int events) {
    const double begin = threadTime();
    for (int i = 0; i < events; ++i) {
        reporter.send(i);
    }
    return (threadTime() - begin) / events;
}

double medianOf(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

double timeOfManyThreads() {
    Reporter reporter;
    reporter.fill();
    std::vector<double> times(threads);
    std::vector<std::thread> running;
    for (double& time : times) {
        running.emplace_back([&] { time = timeOf(reporter, eventsPerThread); });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
    return medianOf(times);
}

bool g_failed = false;

void row(const char* what, double ours, double floor, double limit) {
    const bool within = ours / floor <= limit;
    g_failed = g_failed || !within;
    std::printf("%-44s %8.1f %8.1f %8.3f %8.2f  %s\n", what, ours, floor, ours / floor, limit,
                within ? "ok" : "ABOVE");
}

}  // namespace

int main(int argc, char* argv[]) {
    std::vector<double> empty;
    std::vector<double> full;
    std::vector<double> many;
    Reporter kept;
    kept.fill();
    for (int i = 0; i < rounds; ++i) {
        Reporter fresh;
        empty.push_back(timeOf(fresh, eventsPerRound));
        full.push_back(timeOf(kept, eventsPerRound));
    }
    std::vector<double> alone;
    for (int i = 0; i < 5; ++i) {
        alone.push_back(timeOf(kept, eventsPerThread));
        many.push_back(timeOfManyThreads());
    }
    std::printf("%-44s %8s %8s %8s %8s\n", "what [ns]", "ours", "floor", "ratio", "limit");
    row("warning, all full, against all empty", medianOf(full), medianOf(empty), 1.0);
    row("warning, eight threads, against one", medianOf(many), medianOf(alone), 1.5);
    return g_failed && argc > 1 && std::strcmp(argv[1], "--check") == 0 ? 1 : 0;
}
