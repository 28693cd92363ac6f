#pragma once

#include <array>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/geodeticposition3d_type.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_PositionVelocityAttitude(FIELD)          \
    FIELD(header, aspn2_msgs::idl::header)                    \
    FIELD(position, aspn2_msgs::idl::geodeticposition3d_type) \
    FIELD(velocity, std::array<double, 3>)                    \
    FIELD(attitude, std::array<double, 3>)                    \
    FIELD(covariance, std::array<std::array<double, 9>, 9>)

namespace aspn2_msgs::idl {

/** A position, a velocity and an attitude. */
ASPN2_DECLARE_STRUCTURE(PositionVelocityAttitude)

}  // namespace aspn2_msgs::idl
