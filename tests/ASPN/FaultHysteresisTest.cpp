#include "ASPN/FaultHysteresis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <thread>
#include <utility>
#include <vector>

#include "ASPN/HealthReporter.h"
#include "Seed.h"

namespace {

using namespace std::chrono_literals;
using Clock = FaultHysteresis::Clock;
using Keys = std::deque<std::string>;

Clock::time_point handTime;

Clock::time_point byHand() {
    return handTime;
}

EventTypes::eEventType typeOf(int number) {
    return static_cast<EventTypes::eEventType>(number);
}

/** Passes an event through, and expects its type to stay. */
std::string check(FaultHysteresis& hysteresis, int number, const std::string& file, int line,
                  const std::string& text) {
    EventTypes::eEventType type = typeOf(number);
    std::string result = hysteresis.Check(type, file, line, text);
    EXPECT_EQ(type, number);
    return result;
}

TEST(FaultHysteresis, StampsWithTheFilesNameAndRecordsItsPath) {
    const struct {
        std::string file;
        int line;
        std::string result, key;
    } rows[] = {{"/a/b/x", 42, "x[42]:t", "/a/b/x42"},
                {"c:\\d\\x", 1, "x[1]:t", "c:\\d\\x1"},
                {"x", -1, "x[-1]:t", "x-1"},
                {"", 0, "[0]:t", "0"}};
    for (const auto& [file, line, result, key] : rows) {
        FaultHysteresis hysteresis;
        EXPECT_EQ(check(hysteresis, 3, file, line, "t"), "t") << "before its settings";
        EXPECT_EQ(hysteresis.historyKeys(), Keys{});
        ASSERT_TRUE(hysteresis.OkInitFaultHysteresis(180, 16, 2000));
        EXPECT_EQ(check(hysteresis, 3, file, line, "t"), result);
        EXPECT_EQ(hysteresis.historyKeys(), Keys{key});
    }
}

TEST(FaultHysteresis, AnyOrderOfCallsAgreesWithTheModel) {
    std::mt19937 random(testSeed());
    const auto below = [&random](int end) {
        return static_cast<int>(random() % static_cast<unsigned>(end));
    };
    FaultHysteresis hysteresis(byHand);
    std::array<int, 3> settings{};
    const auto& [age, threshold, size] = settings;
    std::vector<std::pair<std::string, Clock::time_point>> model;
    for (int step = 0; step < 20000; ++step) {
        const std::chrono::nanoseconds parts[] = {0ns, 1ns, 100ms - 1ns};
        handTime += parts[below(3)] + below(5) * 100ms;
        if (below(200) == 0) {
            const std::array fresh{below(5) - 1, below(4) - 1, below(8) - 1};
            const bool valid = *std::min_element(fresh.begin(), fresh.end()) >= 0;
            ASSERT_EQ(hysteresis.OkInitFaultHysteresis(fresh[0], fresh[1], fresh[2]), valid);
            if (valid) {
                settings = fresh;
                model.clear();
            }
        }
        const int type = below(8) - 1;
        const int line = below(3);
        const bool active = threshold > 0 && size > 0;
        const bool stamped = active && type >= 3 && type <= 5;
        ASSERT_EQ(check(hysteresis, type, "/d/f.cpp", line, "t"),
                  stamped ? "f.cpp[" + std::to_string(line) + "]:t" : "t");
        if (active && type == 3) {
            std::erase_if(model, [age = age](const auto& entry) {
                return age > 0 && handTime - entry.second >= std::chrono::seconds(age);
            });
            model.emplace_back("/d/f.cpp" + std::to_string(line), handTime);
            if (model.size() > static_cast<std::size_t>(size)) {
                model.erase(model.begin());
            }
        }
        Keys keys;
        for (const auto& entry : model) {
            keys.push_back(entry.first);
        }
        ASSERT_EQ(hysteresis.historyKeys(), keys) << "step " << step;
    }
}

TEST(FaultHysteresis, WarningsOfAllThreadsMakeOneHistory) {
    FaultHysteresis hysteresis(byHand);
    ASSERT_TRUE(hysteresis.OkInitFaultHysteresis(10, 16, 5));
    const auto warnAfter = [&](std::chrono::seconds pause, int line) {
        handTime += pause;
        std::thread([&] { check(hysteresis, 3, "x", line, "t"); }).join();
    };
    for (int line = 0; line < 8; ++line) {
        warnAfter(1s, line);
    }
    EXPECT_EQ(hysteresis.historyKeys(), (Keys{"x3", "x4", "x5", "x6", "x7"}));
    warnAfter(8s, 9);
    EXPECT_EQ(hysteresis.historyKeys(), (Keys{"x6", "x7", "x9"}));
}

TEST(HealthReporter, StormOfEventsNeverWaits_AndItsHistoryIsBounded) {
    auto& reporter = HealthReporter::Instance();
    auto& hysteresis = FaultHysteresis::Instance();
    ASSERT_TRUE(hysteresis.OkInitFaultHysteresis(180, 16, 20));
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t) {
        EXPECT_TRUE(hysteresis.OkInitFaultHysteresis(180, 16, 20));
        threads.emplace_back([&reporter, t] {
            for (int i = 0; i < 1000; ++i) {
                reporter.SendEvent("storm", t, HealthReporter::EVENT_WARNING, "text");
                reporter.SendEvent("storm", t, typeOf(i - 500), "text");
            }
            reporter.SendEvent(nullptr, 7, HealthReporter::EVENT_WARNING, "text");
        });
    }
    threads.clear();
    const Keys keys = hysteresis.historyKeys();
    EXPECT_EQ(keys.size(), 20U);
    EXPECT_EQ(keys.back(), "7");
    EXPECT_TRUE(hysteresis.OkInitFaultHysteresis(0, 0, 0));
}

}  // namespace
