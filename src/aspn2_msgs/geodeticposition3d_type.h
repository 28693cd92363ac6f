#pragma once

#include "aspn2_msgs/Message.h"

#define ASPN2_FIELDS_geodeticposition3d_type(FIELD) \
    FIELD(latitude, double)                         \
    FIELD(longitude, double)                        \
    FIELD(altitude, double)

namespace aspn2_msgs::idl {

/** A position on the ellipsoid and above it. */
ASPN2_DECLARE_STRUCTURE(geodeticposition3d_type)

}  // namespace aspn2_msgs::idl
