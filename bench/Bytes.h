#pragma once

#include <cstdint>
#include <vector>

namespace bench {

/** A frame, a record, or what a test makes of them. */
using Bytes = std::vector<std::uint8_t>;

}  // namespace bench
