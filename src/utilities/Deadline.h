/** Points in time on the steady clock that no period can overflow. */
#pragma once

#include <algorithm>
#include <chrono>

namespace utilities {

/** A century: longer than any process runs, and far from the clock's own limit. */
constexpr std::chrono::nanoseconds longestPeriod = std::chrono::hours(24 * 36525);

/** `from` plus `period`; a period beyond a century, forth or back, counts as one. */
constexpr std::chrono::steady_clock::time_point deadlineAfter(
    std::chrono::steady_clock::time_point from, std::chrono::nanoseconds period) {
    return from + std::clamp(period, -longestPeriod, longestPeriod);
}

}  // namespace utilities
