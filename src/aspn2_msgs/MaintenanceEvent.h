#pragma once

#include <array>
#include <cstdint>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"
#include "aspn2_msgs/lru_comp_set.h"

#define ASPN2_FIELDS_MaintenanceEvent(FIELD)                           \
    FIELD(header, aspn2_msgs::idl::header)                             \
    FIELD(fault_sources, std::array<aspn2_msgs::idl::lru_comp_set, 4>) \
    FIELD(criticality_id, std::int32_t)                                \
    FIELD(category_id, std::int32_t)                                   \
    FIELD(location_id, std::int32_t)                                   \
    FIELD(outcome_id, std::int32_t)                                    \
    FIELD(repeat_in_seconds, std::int32_t)                             \
    FIELD(identity, std::array<char, 16>)                              \
    FIELD(description, std::array<char, 56>)

namespace aspn2_msgs::idl {

/** A service error for the maintainer. `identity` and `description` are texts in arrays of fixed
 *  size, with zero bytes behind them.
 */
ASPN2_DECLARE_STRUCTURE(MaintenanceEvent)

}  // namespace aspn2_msgs::idl
