/** A made-up day of the receiver. */
#pragma once

#include <cstddef>

#include "bench/ReceiverState.h"

namespace bench {

/** What the receiver knows in cycle `cycle`, one a second from 0 on: a pure function.
 *
 *      cycle 0    switched on late on 28 February 2024: searching, time and date unknown
 *      cycle 3    the date is known; it changes to the 29th at cycle 20
 *      cycle 6    first fix; a warning tells of it
 *      cycle 30   the fix is lost for ten cycles, again in every minute that follows
 *
 *  Satellites cross the sky, rise and set. Mission duration runs down by one in ten cycles, faster
 *  than any real one, so that a short run shows it, and stays at 0.
 */
ReceiverState scenarioAt(std::size_t cycle);

}  // namespace bench
