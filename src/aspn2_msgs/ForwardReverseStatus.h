#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_ForwardReverseStatus(FIELD) \
    FIELD(header, aspn2_msgs::idl::header)       \
    FIELD(DirectionInput, DirectionInput_enum)   \
    FIELD(EstimatedDirection, EstimatedDirection_enum)

namespace aspn2_msgs::idl {

// What their values mean is for those who write them to say: each is kept as it is.
enum DirectionInput_enum : std::uint32_t { DIRECTIONINPUT_UNKNOWN = 0 };
enum EstimatedDirection_enum : std::uint32_t { ESTIMATEDDIRECTION_UNKNOWN = 0 };

/** Whether the vehicle drives forward or backward. */
ASPN2_DECLARE_STRUCTURE(ForwardReverseStatus)

}  // namespace aspn2_msgs::idl
