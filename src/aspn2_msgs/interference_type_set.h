#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"

#define ASPN2_FIELDS_interference_type_set(FIELD)        \
    FIELD(interference_band, interference_band_enum)     \
    FIELD(interference_signal, interference_signal_enum) \
    FIELD(interference_type, interference_type_enum)     \
    FIELD(interference_value, std::int32_t)

namespace aspn2_msgs::idl {

// What their values mean is for those who write them to say: each is kept as it is.
enum interference_band_enum : std::uint32_t { INTERFERENCE_BAND_UNKNOWN = 0 };
enum interference_signal_enum : std::uint32_t { INTERFERENCE_SIGNAL_UNKNOWN = 0 };
enum interference_type_enum : std::uint32_t { INTERFERENCE_TYPE_UNKNOWN = 0 };

/** One interference. */
ASPN2_DECLARE_STRUCTURE(interference_type_set)

}  // namespace aspn2_msgs::idl
