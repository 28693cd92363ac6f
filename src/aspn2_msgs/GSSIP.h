#pragma once

#include <cstdint>
#include <vector>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_GSSIP(FIELD)          \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(num_bytes, std::int32_t)         \
    FIELD(data, std::vector<std::uint8_t>)

namespace aspn2_msgs::idl {

/** One frame to or from the GPS receiver. `num_bytes` is the length of `data`; readers that step
 *  from one record to the next rely on it.
 */
ASPN2_DECLARE_STRUCTURE(GSSIP)

}  // namespace aspn2_msgs::idl
