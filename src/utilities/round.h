/** Rounding to whole numbers of 32 bits, halves away from zero. A number beyond the result's range
 *  gives the nearest end of it, NaN gives 0.
 */
#pragma once

#include <cmath>
#include <concepts>
#include <limits>

namespace utilities {

/** `value` without its fraction, held to the range of `Integer` (at most 32 bits wide, so that a
 *  double holds both ends exactly); NaN gives 0. Defined for every double, as a cast is not.
 */
template <std::integral Integer>
constexpr Integer cutTo(double value) {
    static_assert(sizeof(Integer) <= 4);
    constexpr double lowest = std::numeric_limits<Integer>::min();
    constexpr double highest = std::numeric_limits<Integer>::max();
    if (!(value > lowest)) {
        return value <= lowest ? std::numeric_limits<Integer>::min() : Integer{0};
    }
    return value < highest ? static_cast<Integer>(value) : std::numeric_limits<Integer>::max();
}

}  // namespace utilities

/** Negative values give 0. */
inline unsigned uround(double value) {
    return utilities::cutTo<unsigned>(std::round(value));
}

inline int iround(double value) {
    return utilities::cutTo<int>(std::round(value));
}
