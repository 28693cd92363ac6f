#pragma once

#include <cstdint>
#include <vector>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"
#include "aspn2_msgs/sv_set.h"

#define ASPN2_FIELDS_SVStatus(FIELD)       \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(num_svs, std::int32_t)           \
    FIELD(svs, std::vector<aspn2_msgs::idl::sv_set>)

namespace aspn2_msgs::idl {

/** Where the satellites stand, and their health. */
ASPN2_DECLARE_STRUCTURE(SVStatus)

}  // namespace aspn2_msgs::idl
