/** Waits of the bench: a point on the steady clock, told by the caller. */
#pragma once

#include <algorithm>
#include <chrono>
#include <climits>

namespace bench {

using Deadline = std::chrono::steady_clock::time_point;

/** The point `time` from now. */
inline Deadline within(std::chrono::milliseconds time) {
    return std::chrono::steady_clock::now() + time;
}

/** What is left until `deadline` as poll() takes it: rounded up, 0 once it has passed. */
inline int pollTimeout(Deadline deadline) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp<long long>(left.count(), 0, INT_MAX));
}

}  // namespace bench
