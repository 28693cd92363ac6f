#include "ASPN/EventQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "Seed.h"

namespace {

using namespace std::chrono_literals;
using ASPN2::EventQueue;
using Clock = std::chrono::steady_clock;

constexpr auto never = std::chrono::nanoseconds::max();

std::optional<std::string> pop(EventQueue& queue, std::chrono::nanoseconds timeout = 0ns) {
    int type = 0;
    std::string text;
    return queue.pop_front(type, text, timeout) ? std::optional(std::to_string(type) + " " + text)
                                                : std::nullopt;
}

TEST(EventQueue, ConfigurationEventComesBackAPeriodAfterEachDelivery) {
    EventQueue queue(10, 2, 40ms);
    const auto id = queue.push_back_config("version");
    EXPECT_EQ(queue.push_back_config("version"), id);
    for (int round = 0; round < 3; ++round) {
        const auto begin = Clock::now();
        for (int both = 0; both < 2; ++both) {
            std::optional<std::string> event;
            while (!(event = pop(queue, 1ms)) && Clock::now() - begin < 20s) {
            }
            EXPECT_EQ(event, "2 version");
        }
        if (round > 0) {
            EXPECT_GE(Clock::now() - begin, 40ms);
        }
        EXPECT_EQ(queue.size(), 2U);
    }
}

TEST(EventQueue, EmptyQueueWaitsForItsTimeout_AndForAnEvent) {
    EventQueue queue(10, 2, never);
    const auto begin = Clock::now();
    EXPECT_EQ(pop(queue, 30ms), std::nullopt);
    EXPECT_GE(Clock::now() - begin, 30ms);
    EXPECT_EQ(pop(queue, std::chrono::nanoseconds::min()), std::nullopt);

    for (const bool config : {false, true}) {
        auto popped = std::async(std::launch::async, [&] { return pop(queue, never); });
        EXPECT_EQ(popped.wait_for(10ms), std::future_status::timeout);
        if (config) {
            queue.push_back_config("woken");
        } else {
            queue.push_back(2, "woken");
        }
        ASSERT_EQ(popped.wait_for(20s), std::future_status::ready);
        EXPECT_EQ(popped.get(), "2 woken");
    }
}

TEST(EventQueue, EventsOfManyThreadsArriveOnceAndInTheirOrder) {
    constexpr int threadCount = 6;
    EventQueue queue(10, 2, never);
    std::vector<std::vector<int>> accepted(threadCount);
    std::vector<std::vector<int>> arrived(threadCount);
    std::atomic<int> busy = threadCount;
    std::vector<std::jthread> threads;
    for (std::size_t t = 0; t < threadCount; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 2000; ++i) {
                if (queue.push_back(static_cast<int>(t), std::to_string(i))) {
                    accepted[t].push_back(i);
                }
            }
            --busy;
        });
    }
    int type = 0;
    std::string text;
    while (queue.pop_front(type, text, 1ms) || busy > 0 || queue.size() > 0) {
        if (!text.empty()) {
            arrived[static_cast<std::size_t>(type)].push_back(std::stoi(text));
            text.clear();
        }
    }
    threads.clear();
    EXPECT_EQ(arrived, accepted);
}

/** The queue as one would say it: with a period that has always passed, or that never does. */
struct Model {
    static constexpr int configType = 7;
    static std::string config(const std::string& text) { return "7 " + text; }

    bool push(int type, const std::string& text) {
        const bool fits = waiting.size() < maxEvents;
        if (fits) {
            waiting.push_back(std::to_string(type) + " " + text);
        }
        return fits;
    }
    void erase(const std::string& event) {
        for (auto* const events : {&waiting, &later}) {
            const auto found = std::ranges::find(*events, event);
            if (found != events->end()) {
                events->erase(found);
            }
        }
    }
    std::optional<std::string> pop() {
        if (repeats) {
            waiting.insert(waiting.end(), later.begin(), later.end());
            later.clear();
        }
        if (waiting.empty()) {
            return std::nullopt;
        }
        const std::string event = waiting.front();
        waiting.erase(waiting.begin());
        if (event.starts_with(config(""))) {
            later.push_back(event);
        }
        return event;
    }
    std::size_t size() const { return waiting.size() + later.size(); }

    const std::size_t maxEvents;
    const bool repeats;
    std::vector<std::string> waiting{};
    std::vector<std::string> later{};
};

void playAgainstModel(std::size_t maxEvents, bool repeats, std::mt19937& random) {
    const auto below = [&random](unsigned end) { return random() % end; };
    const std::string texts[] = {"", "a", "b", "c", std::string(300, 'x')};
    EventQueue queue(static_cast<unsigned>(maxEvents), Model::configType, repeats ? 0ns : never);
    Model model{maxEvents, repeats};
    std::set<std::uint32_t> ids;
    for (int step = 0; step < 3000; ++step) {
        SCOPED_TRACE(step);
        const std::string& text = texts[below(5)];
        const std::string& other = texts[below(5)];
        const auto action = below(model.size() < 12 ? 5 : 9);
        if (action < 2) {
            const int type = static_cast<int>(below(6));
            ASSERT_EQ(queue.push_back(type, text), model.push(type, text));
        } else if (action == 2) {
            ids.insert(queue.push_back_config(text));
            model.waiting.push_back(Model::config(text));
        } else if (action == 3) {  // 0 names no event, plain ones included
            const bool none = below(8) == 0;
            const std::size_t oldId = none ? 0 : std::hash<std::string>{}(other);
            ids.insert(queue.push_back_config(text, static_cast<std::uint32_t>(oldId)));
            model.erase(none ? "no such event" : Model::config(other));
            model.waiting.push_back(Model::config(text));
        } else {
            ASSERT_EQ(pop(queue), model.pop());
        }
        ASSERT_EQ(queue.size(), model.size());
    }
    EXPECT_EQ(ids.size(), 5U);
}

TEST(EventQueue, AnyOrderOfCallsAgreesWithTheModel) {
    std::mt19937 random(testSeed());
    for (int game = 0; game < 10 && !HasFatalFailure(); ++game) {
        playAgainstModel(game < 2 ? 0 : 4, game % 2 == 0, random);
    }
}

}  // namespace
