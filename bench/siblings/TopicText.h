/** Messages of the system's topics in words that a person reads. */
#pragma once

#include <string>

#include "bench/siblings/SystemTopics.h"

namespace bench {

/** One line without its end: what it is, who it is from, what it says. */
std::string describe(const Arrival& arrival);

}  // namespace bench
