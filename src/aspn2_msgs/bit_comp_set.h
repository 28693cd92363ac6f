#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"

#define ASPN2_FIELDS_bit_comp_set(FIELD) \
    FIELD(server_id, std::int32_t)       \
    FIELD(has_communicated, bool)        \
    FIELD(warn_received, bool)           \
    FIELD(error_received, bool)          \
    FIELD(critical_received, bool)

namespace aspn2_msgs::idl {

/** What the built-in test knows of one server. */
ASPN2_DECLARE_STRUCTURE(bit_comp_set)

}  // namespace aspn2_msgs::idl
