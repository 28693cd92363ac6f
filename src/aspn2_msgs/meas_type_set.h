#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"

#define ASPN2_FIELDS_meas_type_set(FIELD) \
    FIELD(meas_set_id, std::int32_t)      \
    FIELD(meas_avail, std::int32_t)       \
    FIELD(meas_used, std::int32_t)

namespace aspn2_msgs::idl {

/** How many measurements of a set there were, and how many were used. */
ASPN2_DECLARE_STRUCTURE(meas_type_set)

}  // namespace aspn2_msgs::idl
