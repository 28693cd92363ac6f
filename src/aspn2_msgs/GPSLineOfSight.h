#pragma once

#include <cstdint>
#include <vector>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/gpslos_obs.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_GPSLineOfSight(FIELD) \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(num_measurements, std::int32_t)  \
    FIELD(obs, std::vector<aspn2_msgs::idl::gpslos_obs>)

namespace aspn2_msgs::idl {

/** Measurements along the lines of sight to the satellites. */
ASPN2_DECLARE_STRUCTURE(GPSLineOfSight)

}  // namespace aspn2_msgs::idl
