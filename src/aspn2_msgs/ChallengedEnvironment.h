#pragma once

#include <cstdint>
#include <vector>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"
#include "aspn2_msgs/interference_type_set.h"

#define ASPN2_FIELDS_ChallengedEnvironment(FIELD) \
    FIELD(header, aspn2_msgs::idl::header)        \
    FIELD(num_interference_types, std::int32_t)   \
    FIELD(interference_types, std::vector<aspn2_msgs::idl::interference_type_set>)

namespace aspn2_msgs::idl {

/** Interference that the receiver has found. */
ASPN2_DECLARE_STRUCTURE(ChallengedEnvironment)

}  // namespace aspn2_msgs::idl
