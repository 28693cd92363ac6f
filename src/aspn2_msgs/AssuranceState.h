#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_AssuranceState(FIELD) \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(assurance_state, assurance_state_enum)

namespace aspn2_msgs::idl {

/** What its values mean is for those who write it to say: each is kept as it is. */
enum assurance_state_enum : std::uint32_t { ASSURANCE_STATE_UNKNOWN = 0 };

/** How far the position can be trusted. */
ASPN2_DECLARE_STRUCTURE(AssuranceState)

}  // namespace aspn2_msgs::idl
