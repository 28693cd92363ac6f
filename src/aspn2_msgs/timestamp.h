#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"

#define ASPN2_FIELDS_timestamp(FIELD) \
    FIELD(sec, std::int64_t)          \
    FIELD(nsec, std::int32_t)         \
    FIELD(time_code, std::int32_t)

namespace aspn2_msgs::idl {

/** A point in time with its time code. */
ASPN2_DECLARE_STRUCTURE(timestamp)

}  // namespace aspn2_msgs::idl
