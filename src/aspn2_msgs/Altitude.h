#pragma once

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_Altitude(FIELD)       \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(altitude, double)                \
    FIELD(variance, double)

namespace aspn2_msgs::idl {

/** The height of the unit. */
ASPN2_DECLARE_STRUCTURE(Altitude)

}  // namespace aspn2_msgs::idl
