#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"

#define ASPN2_FIELDS_lru_comp_set(FIELD) \
    FIELD(lru_id, std::int32_t)          \
    FIELD(component_id, std::int32_t)

namespace aspn2_msgs::idl {

/** A component of a line-replaceable unit. */
ASPN2_DECLARE_STRUCTURE(lru_comp_set)

}  // namespace aspn2_msgs::idl
