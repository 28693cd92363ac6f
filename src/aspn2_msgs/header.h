#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/timestamp.h"

#define ASPN2_FIELDS_header(FIELD)                       \
    FIELD(seq_num, std::int64_t)                         \
    FIELD(timestamp_arrival, aspn2_msgs::idl::timestamp) \
    FIELD(timestamp_valid, aspn2_msgs::idl::timestamp)   \
    FIELD(device_id, std::int32_t)

namespace aspn2_msgs::idl {

/** The head of every message: who sent it, its time of arrival and its time of validity. */
ASPN2_DECLARE_STRUCTURE(header)

}  // namespace aspn2_msgs::idl
