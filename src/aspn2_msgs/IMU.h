#pragma once

#include <array>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_IMU(FIELD)            \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(delta_v, std::array<double, 3>)  \
    FIELD(delta_theta, std::array<double, 3>)

namespace aspn2_msgs::idl {

/** Changes of velocity and angle, as an inertial sensor measures them. */
ASPN2_DECLARE_STRUCTURE(IMU)

}  // namespace aspn2_msgs::idl
