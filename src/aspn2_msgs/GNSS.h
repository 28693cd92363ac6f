#pragma once

#include <cstdint>
#include <vector>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/gnss_obs.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_GNSS(FIELD)           \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(week_number, std::int32_t)       \
    FIELD(seconds_of_week, double)         \
    FIELD(time_system, time_system_enum)   \
    FIELD(epoch_flag, std::int32_t)        \
    FIELD(num_satellites, std::int32_t)    \
    FIELD(num_measurements, std::int32_t)  \
    FIELD(obs, std::vector<aspn2_msgs::idl::gnss_obs>)

namespace aspn2_msgs::idl {

/** What its values mean is for those who write it to say: each is kept as it is. */
enum time_system_enum : std::uint32_t { TIME_SYSTEM_UNKNOWN = 0 };

/** Measurements of a satellite receiver. */
ASPN2_DECLARE_STRUCTURE(GNSS)

}  // namespace aspn2_msgs::idl
