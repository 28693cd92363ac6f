#pragma once

#include <chrono>
#include <thread>

/** Whether `condition` comes to hold before `within` has passed. */
template <typename Condition>
bool eventually(const Condition& condition,
                std::chrono::microseconds within = std::chrono::seconds(20)) {
    const auto deadline = std::chrono::steady_clock::now() + within;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}
