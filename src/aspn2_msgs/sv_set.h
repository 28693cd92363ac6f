#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"

#define ASPN2_FIELDS_sv_set(FIELD)                 \
    FIELD(svid, std::int32_t)                      \
    FIELD(rinex3_gnss_enum, rinex3_gnss_enum_enum) \
    FIELD(healthy, bool)                           \
    FIELD(azimuth, std::int32_t)                   \
    FIELD(elevation, std::int32_t)                 \
    FIELD(rising, bool)

namespace aspn2_msgs::idl {

/** What its values mean is for those who write it to say: each is kept as it is. */
enum rinex3_gnss_enum_enum : std::uint32_t { RINEX3_GNSS_ENUM_UNKNOWN = 0 };

/** One satellite. */
ASPN2_DECLARE_STRUCTURE(sv_set)

}  // namespace aspn2_msgs::idl
