/** Folding and clamping of angles and other cyclic values. Pure functions, safe from any thread. */
#pragma once

namespace AngleUtility {

/** An azimuth [deg, clockwise from north] as an angle from east: `azimuth` - 90, and 360 more when
 *  that is negative.
 */
double NorthAzToGDIAngle(double azimuth);

/** `value` folded into 0 to `max` by whole steps of `max`; both ends stay as they are. `max` > 0.
 */
double NormalizeValue(double value, double max);

/** `value` folded into `min` to `max` by whole steps of `max` - `min`; both ends stay as they are.
 *
 *  Takes bounded time for every input. A value that is not finite, and any value when `max` is not
 *  above `min`, comes back as it is.
 */
double NormalizeValue(double value, double min, double max);

/** `value` clamped to `min` and `max`. Throws std::invalid_argument when `max` is not above `min`.
 */
double ConstrainRange(double value, double min, double max);

}  // namespace AngleUtility
