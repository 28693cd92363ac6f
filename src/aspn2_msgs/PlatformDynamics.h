#pragma once

#include <array>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_PlatformDynamics(FIELD)    \
    FIELD(header, aspn2_msgs::idl::header)      \
    FIELD(velocity, std::array<double, 3>)      \
    FIELD(acceleration, std::array<double, 3>)  \
    FIELD(attitude, std::array<double, 3>)      \
    FIELD(attitude_rate, std::array<double, 3>) \
    FIELD(covariance, std::array<std::array<double, 12>, 12>)

namespace aspn2_msgs::idl {

/** The motion of the vehicle. */
ASPN2_DECLARE_STRUCTURE(PlatformDynamics)

}  // namespace aspn2_msgs::idl
