#pragma once

#include <array>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_ThreeAxisMagnetometer(FIELD) \
    FIELD(header, aspn2_msgs::idl::header)        \
    FIELD(field, std::array<double, 3>)           \
    FIELD(covariance, std::array<std::array<double, 3>, 3>)

namespace aspn2_msgs::idl {

/** The magnetic field. */
ASPN2_DECLARE_STRUCTURE(ThreeAxisMagnetometer)

}  // namespace aspn2_msgs::idl
