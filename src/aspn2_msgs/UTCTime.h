#pragma once

#include <array>
#include <cstdint>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_UTCTime(FIELD)        \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(gps_tow_sec, std::int32_t)       \
    FIELD(gps_tow_nsec, double)            \
    FIELD(gps_week, std::int32_t)          \
    FIELD(utc_tod_sec, std::int32_t)       \
    FIELD(utc_tod_nsec, double)            \
    FIELD(a1, double)                      \
    FIELD(covariance, std::array<std::array<double, 2>, 2>)

namespace aspn2_msgs::idl {

/** The relation of GPS time and UTC. */
ASPN2_DECLARE_STRUCTURE(UTCTime)

}  // namespace aspn2_msgs::idl
