#pragma once

#include <cstdint>
#include <vector>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/bit_comp_set.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_BitReport(FIELD)          \
    FIELD(header, aspn2_msgs::idl::header)     \
    FIELD(bit_rollup, bool)                    \
    FIELD(num_servers_expected, std::int32_t)  \
    FIELD(num_servers_available, std::int32_t) \
    FIELD(bit_components, std::vector<aspn2_msgs::idl::bit_comp_set>)

namespace aspn2_msgs::idl {

/** The built-in test of the whole system, server by server. */
ASPN2_DECLARE_STRUCTURE(BitReport)

}  // namespace aspn2_msgs::idl
