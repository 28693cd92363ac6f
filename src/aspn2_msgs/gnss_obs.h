#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"

#define ASPN2_FIELDS_gnss_obs(FIELD)               \
    FIELD(prn, std::int32_t)                       \
    FIELD(satellite_system, satellite_system_enum) \
    FIELD(type, type_enum)                         \
    FIELD(band, band_enum)                         \
    FIELD(attrib, attrib_enum)                     \
    FIELD(observation, double)                     \
    FIELD(LLI, std::int32_t)                       \
    FIELD(signal_strength, std::int32_t)           \
    FIELD(lock_count, std::int32_t)

namespace aspn2_msgs::idl {

// What their values mean is for those who write them to say: each is kept as it is.
enum satellite_system_enum : std::uint32_t { SATELLITE_SYSTEM_UNKNOWN = 0 };
enum type_enum : std::uint32_t { TYPE_UNKNOWN = 0 };
enum band_enum : std::uint32_t { BAND_UNKNOWN = 0 };
enum attrib_enum : std::uint32_t { ATTRIB_UNKNOWN = 0 };

/** One measurement of one satellite. */
ASPN2_DECLARE_STRUCTURE(gnss_obs)

}  // namespace aspn2_msgs::idl
