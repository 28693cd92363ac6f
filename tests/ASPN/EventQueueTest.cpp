#include "ASPN/EventQueue.h"

#include <gtest/gtest.h>

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

TEST(EventQueue, FullQueueRefusesPlainEventsAlone) {
    EventQueue queue(10, 2, never);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(queue.push_back(3, std::to_string(i)), true);
    }
    EXPECT_FALSE(queue.push_back(3, "lost"));
    queue.push_back_config("version", 0);  // 0 names no event, plain ones included
    EXPECT_EQ(queue.size(), 11U);
    EXPECT_EQ(pop(queue), "3 0");
    EXPECT_FALSE(queue.push_back(3, "lost"));  // the waiting configuration event counts, too
    EXPECT_EQ(pop(queue), "3 1");
    EXPECT_TRUE(queue.push_back(4, "last"));
    for (int i = 2; i < 10; ++i) {
        EXPECT_EQ(pop(queue), "3 " + std::to_string(i));
    }
    EXPECT_EQ(pop(queue), "2 version");
    EXPECT_EQ(pop(queue), "4 last");
    EXPECT_EQ(pop(queue), std::nullopt);
    EXPECT_FALSE(EventQueue(0, 2, never).push_back(2, "no room at all"));
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
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
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
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(arrived, accepted);
}

/** The queue as one would say it: with a period that has always passed, or that never does. */
class Model {
public:
    Model(std::size_t maxEvents, bool repeats) : m_maxEvents(maxEvents), m_repeats(repeats) {}

    bool push(int type, const std::string& text) {
        if (m_waiting.size() >= m_maxEvents) {
            return false;
        }
        m_waiting.push_back({false, type, text});
        return true;
    }
    void pushConfig(const std::string& text) { m_waiting.push_back({true, configType, text}); }
    void erase(const std::string& text) {
        eraseFirst(m_waiting, text);
        eraseFirst(m_later, text);
    }
    std::optional<std::string> pop() {
        if (m_repeats) {
            m_waiting.insert(m_waiting.end(), m_later.begin(), m_later.end());
            m_later.clear();
        }
        if (m_waiting.empty()) {
            return std::nullopt;
        }
        const Event event = m_waiting.front();
        m_waiting.erase(m_waiting.begin());
        if (event.config) {
            m_later.push_back(event);
        }
        return std::to_string(event.type) + " " + event.text;
    }
    std::size_t size() const { return m_waiting.size() + m_later.size(); }

    static constexpr int configType = 7;

private:
    struct Event {
        bool config;
        int type;
        std::string text;
    };

    static void eraseFirst(std::vector<Event>& events, const std::string& text) {
        for (auto event = events.begin(); event != events.end(); ++event) {
            if (event->config && event->text == text) {
                events.erase(event);
                return;
            }
        }
    }

    const std::size_t m_maxEvents;
    const bool m_repeats;
    std::vector<Event> m_waiting;
    std::vector<Event> m_later;
};

void playAgainstModel(bool repeats, std::mt19937& random) {
    const auto below = [&random](unsigned end) { return random() % end; };
    const std::string texts[] = {"", "a", "b", "c", std::string(300, 'x')};
    EventQueue queue(4, Model::configType, repeats ? 0ns : never);
    Model model(4, repeats);
    std::set<std::uint32_t> ids;
    for (int step = 0; step < 3000; ++step) {
        const std::string& text = texts[below(5)];
        const std::string& other = texts[below(5)];
        switch (below(model.size() < 12 ? 5 : 9)) {
            case 0:
            case 1: {
                const int type = static_cast<int>(below(6));
                ASSERT_EQ(queue.push_back(type, text), model.push(type, text)) << "step " << step;
                break;
            }
            case 2:
                ids.insert(queue.push_back_config(text));
                model.pushConfig(text);
                break;
            case 3: {
                const auto oldId = static_cast<std::uint32_t>(std::hash<std::string>{}(other));
                ids.insert(queue.push_back_config(text, oldId));
                model.erase(other);
                model.pushConfig(text);
                break;
            }
            default:
                ASSERT_EQ(pop(queue), model.pop()) << "step " << step;
        }
        ASSERT_EQ(queue.size(), model.size()) << "step " << step;
    }
    EXPECT_EQ(ids.size(), 5U);
}

TEST(EventQueue, AnyOrderOfCallsAgreesWithTheModel) {
    std::mt19937 random(testSeed());
    for (int game = 0; game < 10 && !HasFatalFailure(); ++game) {
        playAgainstModel(game % 2 == 0, random);
    }
}

}  // namespace
