#include "utilities/AngleUtilities.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "utilities/Console.h"

namespace AngleUtility {

namespace {

/** So many steps are taken one by one, which gives values near the range the result of repeated
 *  addition to the last bit. Beyond them the remainder is at least as exact, and far out the steps
 *  would vanish in rounding and never arrive.
 */
constexpr int plainSteps = 4096;

double foldFar(double value, double min, double max) {
    const double rest = std::fmod(value - min, max - min);
    if (value > max) {
        return rest == 0.0 ? max : std::min(min + rest, max);
    }
    return rest == 0.0 ? min : std::max(max + rest, min);
}

}  // namespace

double NorthAzToGDIAngle(double azimuth) {
    const double angle = azimuth - 90.0;
    return angle < 0.0 ? angle + 360.0 : angle;
}

double NormalizeValue(double value, double max) {
    return NormalizeValue(value, 0.0, max);
}

double NormalizeValue(double value, double min, double max) {
    const double step = max - min;
    if (!std::isfinite(value) || !std::isfinite(step) || step <= 0.0) {
        return value;
    }
    double folded = value;
    int left = plainSteps;
    for (; folded < min && left > 0; --left) {
        folded += step;
    }
    for (; folded > max && left > 0; --left) {
        folded -= step;
    }
    return left > 0 ? folded : foldFar(value, min, max);
}

double ConstrainRange(double value, double min, double max) {
    if (!(max > min)) {
        throw std::invalid_argument(utilities::concat(
            "maxrange must be greater than minrange: minrange:", min, " maxrange:", max));
    }
    return std::clamp(value, min, max);
}

}  // namespace AngleUtility
