#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_ReceiverStatus(FIELD)    \
    FIELD(header, aspn2_msgs::idl::header)    \
    FIELD(rcvr_fail, bool)                    \
    FIELD(num_satellites_avail, std::int32_t) \
    FIELD(num_satellites_used, std::int32_t)  \
    FIELD(pdop, double)                       \
    FIELD(tdop, double)

namespace aspn2_msgs::idl {

/** The state of a satellite receiver. */
ASPN2_DECLARE_STRUCTURE(ReceiverStatus)

}  // namespace aspn2_msgs::idl
