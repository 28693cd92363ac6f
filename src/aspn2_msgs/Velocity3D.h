#pragma once

#include <array>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_Velocity3D(FIELD)     \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(x, double)                       \
    FIELD(y, double)                       \
    FIELD(z, double)                       \
    FIELD(covariance, std::array<std::array<double, 3>, 3>)

namespace aspn2_msgs::idl {

/** A velocity. */
ASPN2_DECLARE_STRUCTURE(Velocity3D)

}  // namespace aspn2_msgs::idl
