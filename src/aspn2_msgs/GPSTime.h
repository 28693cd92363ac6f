#pragma once

#include <array>
#include <cstdint>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_GPSTime(FIELD)          \
    FIELD(header, aspn2_msgs::idl::header)   \
    FIELD(rcvr_set_time_sec, std::int32_t)   \
    FIELD(rcvr_set_time_nsec, double)        \
    FIELD(rcvr_time_bias, double)            \
    FIELD(rcvr_time_bias_error, double)      \
    FIELD(rcvr_time_bias_error_rate, double) \
    FIELD(gps_tow_sec, std::int32_t)         \
    FIELD(gps_tow_nsec, double)              \
    FIELD(gps_week, std::int32_t)            \
    FIELD(covariance, std::array<std::array<double, 2>, 2>)

namespace aspn2_msgs::idl {

/** The time of the receiver and of GPS. */
ASPN2_DECLARE_STRUCTURE(GPSTime)

}  // namespace aspn2_msgs::idl
