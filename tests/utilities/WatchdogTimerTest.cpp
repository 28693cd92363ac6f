#include "support/Captured.h"
#include "support/Eventually.h"
#include "utilities/WatchdogTimer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/** Counts expiries, and waits for one. */
class Expiry {
public:
    std::function<void()> callback() {
        return [this] { signal(); };
    }
    void signal() {
        m_last = Clock::now();
        ++m_count;
    }
    int count() const { return m_count; }
    Clock::time_point last() const { return m_last; }
    bool waitFor(int wanted, std::chrono::milliseconds within = 20s) const {
        return eventually([&] { return m_count >= wanted; }, within);
    }

private:
    std::atomic<int> m_count = 0;
    std::atomic<Clock::time_point> m_last{};
};

TEST(WatchdogTimer, ExpiresOncePerStart_NotBeforeItsPeriod) {
    Expiry expiry;
    WatchdogTimer timer;
    for (int round = 1; round <= 3; ++round) {
        const auto begin = Clock::now();
        timer.startWatchdog(20ms, expiry.callback());
        ASSERT_TRUE(expiry.waitFor(round));
        EXPECT_GE(expiry.last() - begin, 20ms);
    }
    EXPECT_FALSE(expiry.waitFor(4, 60ms));
}

TEST(WatchdogTimer, CancelledOrReplacedTimerNeverRunsItsCallback) {
    Expiry old;
    Expiry replacement;
    WatchdogTimer timer;
    timer.cancelWatchdog();
    timer.petWatchdog();
    timer.startWatchdog(400ms, old.callback());
    timer.cancelWatchdog();
    timer.cancelWatchdog();
    timer.startWatchdog(400ms, old.callback());
    timer.startWatchdog(500ms, replacement.callback());
    ASSERT_TRUE(replacement.waitFor(1));
    EXPECT_EQ(old.count(), 0);
}

TEST(WatchdogTimer, PeriodsBeyondTheClocksRange) {
    Expiry never;
    Expiry atOnce;
    {
        WatchdogTimer timers[5];
        timers[0].startWatchdog(std::chrono::seconds::max(), never.callback());
        timers[1].startWatchdog(std::chrono::hours::max(), never.callback());
        timers[2].startWatchdog(std::chrono::nanoseconds::max(), never.callback());
        timers[3].startWatchdog(0ms, atOnce.callback());
        timers[4].startWatchdog(-5s, atOnce.callback());
        EXPECT_TRUE(atOnce.waitFor(2));
    }
    EXPECT_EQ(never.count(), 0);
}

/** Pets a timer for three of its periods; true if it held still as long and expired afterwards,
 *  false if it expired meanwhile, which a stalled machine can cause.
 */
bool heldByPetting() {
    constexpr auto period = 80ms;
    Expiry expiry;
    WatchdogTimer timer;
    timer.startWatchdog(period, expiry.callback());
    Clock::time_point lastPet;
    for (const auto begin = Clock::now(); Clock::now() - begin < 3 * period;) {
        if (expiry.waitFor(1, 5ms)) {
            return false;
        }
        lastPet = Clock::now();
        timer.petWatchdog();
    }
    EXPECT_TRUE(expiry.waitFor(1));
    return expiry.last() - lastPet >= period;
}

TEST(WatchdogTimer, PetRestartsThePeriod) {
    int tries = 20;
    while (tries > 0 && !heldByPetting()) {
        --tries;
    }
    EXPECT_GT(tries, 0);
}

TEST(WatchdogTimer, CancelWaitsForARunningCallback_WhichMayCancelAndPetToo) {
    std::promise<void> entered;
    std::promise<void> leave;
    std::atomic<bool> left = false;
    WatchdogTimer timer;
    timer.startWatchdog(1ms, [&] {
        entered.set_value();
        leave.get_future().wait();
        timer.cancelWatchdog();
        timer.petWatchdog();
        left = true;
    });
    entered.get_future().wait();
    auto cancelled = std::async(std::launch::async, [&] {
        timer.cancelWatchdog();
        return left.load();
    });
    timer.petWatchdog();  // returns although the callback runs
    EXPECT_EQ(cancelled.wait_for(30ms), std::future_status::timeout);
    leave.set_value();
    EXPECT_TRUE(cancelled.get());
}

TEST(WatchdogTimer, CallbackThatThrowsOrStartsItsTimerEndsInALine) {
    const Captured out;
    Expiry expiry;
    WatchdogTimer timer;
    const std::function<void()> faults[] = {[] { throw std::runtime_error("out of order"); },
                                            [] { throw 5; },
                                            [&] { timer.startWatchdog(0ms, expiry.callback()); }};
    int count = 0;
    for (const auto& fault : faults) {
        timer.startWatchdog(0ms, [&] {
            expiry.signal();
            fault();
        });
        ASSERT_TRUE(expiry.waitFor(++count));
    }
    timer.cancelWatchdog();
    EXPECT_EQ(expiry.count(), 3);
    EXPECT_EQ(out.text(),
              "WatchdogTimer: callback threw: out of order\n"
              "WatchdogTimer: callback threw: <unknown>\n"
              "WatchdogTimer: callback threw: startWatchdog called by the timer's own callback\n");
}

TEST(WatchdogTimer, StartsCancelsAndPetsOfManyThreadsTakeTheirTurns) {
    std::atomic<int> running = 0;
    std::atomic<int> overlaps = 0;
    std::atomic<int> starts = 0;
    std::atomic<int> expiries = 0;
    WatchdogTimer timer;
    const auto work = [&](unsigned seed) {
        std::minstd_rand random(seed);
        for (int i = 0; i < 200; ++i) {
            switch (random() % 4) {
                case 0:
                    timer.cancelWatchdog();
                    break;
                case 1:
                    timer.petWatchdog();
                    break;
                default:
                    ++starts;
                    timer.startWatchdog(std::chrono::microseconds(random() % 1500), [&] {
                        overlaps += running++ == 0 ? 0 : 1;
                        ++expiries;
                        --running;
                    });
            }
        }
    };
    std::vector<std::jthread> threads;
    for (unsigned seed = 1; seed <= 6; ++seed) {
        threads.emplace_back(work, seed);
    }
    threads.clear();
    timer.cancelWatchdog();
    const int expired = expiries;
    EXPECT_EQ(running, 0);
    EXPECT_EQ(overlaps, 0);
    EXPECT_LE(expired, starts);

    Expiry expiry;
    timer.startWatchdog(1ms, expiry.callback());
    EXPECT_TRUE(expiry.waitFor(1));
    EXPECT_EQ(expiries, expired);
}

}  // namespace
