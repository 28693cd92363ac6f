#pragma once

#include <array>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/geodeticposition3d_type.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_PositionVelocity(FIELD)                  \
    FIELD(header, aspn2_msgs::idl::header)                    \
    FIELD(position, aspn2_msgs::idl::geodeticposition3d_type) \
    FIELD(velocity, std::array<double, 3>)                    \
    FIELD(covariance, std::array<std::array<double, 6>, 6>)

namespace aspn2_msgs::idl {

/** A position and a velocity. */
ASPN2_DECLARE_STRUCTURE(PositionVelocity)

}  // namespace aspn2_msgs::idl
