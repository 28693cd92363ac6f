#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"

#define ASPN2_FIELDS_channel_status_obs(FIELD)                   \
    FIELD(prn, std::int32_t)                                     \
    FIELD(channel, std::int32_t)                                 \
    FIELD(rinex3_satellite_system, rinex3_satellite_system_enum) \
    FIELD(rinex3_band, rinex3_band_enum)                         \
    FIELD(rinex3_attribute, rinex3_attribute_enum)               \
    FIELD(gnss_tracking_status, gnss_tracking_status_enum)       \
    FIELD(carrier_to_noise, float)                               \
    FIELD(jammer_to_signal, float)                               \
    FIELD(used_in_solution, bool)                                \
    FIELD(gnss_corrections_used, gnss_corrections_used_enum)     \
    FIELD(assurance_level, assurance_level_enum)

namespace aspn2_msgs::idl {

// What their values mean is for those who write them to say: each is kept as it is.
enum rinex3_satellite_system_enum : std::uint32_t { RINEX3_SATELLITE_SYSTEM_UNKNOWN = 0 };
enum rinex3_band_enum : std::uint32_t { RINEX3_BAND_UNKNOWN = 0 };
enum rinex3_attribute_enum : std::uint32_t { RINEX3_ATTRIBUTE_UNKNOWN = 0 };
enum gnss_tracking_status_enum : std::uint32_t { GNSS_TRACKING_STATUS_UNKNOWN = 0 };
enum gnss_corrections_used_enum : std::uint32_t { GNSS_CORRECTIONS_USED_UNKNOWN = 0 };
enum assurance_level_enum : std::uint32_t { ASSURANCE_LEVEL_UNKNOWN = 0 };

/** The state of one channel. */
ASPN2_DECLARE_STRUCTURE(channel_status_obs)

}  // namespace aspn2_msgs::idl
