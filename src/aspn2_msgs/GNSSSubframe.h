#pragma once

#include <cstdint>
#include <vector>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_GNSSSubframe(FIELD)                             \
    FIELD(header, aspn2_msgs::idl::header)                           \
    FIELD(gnss_msg_id, std::int64_t)                                 \
    FIELD(prn, std::int32_t)                                         \
    FIELD(subframe_satellite_system, subframe_satellite_system_enum) \
    FIELD(freq_slot_id, std::int32_t)                                \
    FIELD(num_bytes, std::int32_t)                                   \
    FIELD(data_vector, std::vector<std::uint8_t>)

namespace aspn2_msgs::idl {

/** What its values mean is for those who write it to say: each is kept as it is. */
enum subframe_satellite_system_enum : std::uint32_t { SUBFRAME_SATELLITE_SYSTEM_UNKNOWN = 0 };

/** A piece of a satellite's navigation message. `num_bytes` is the length of `data_vector`. */
ASPN2_DECLARE_STRUCTURE(GNSSSubframe)

}  // namespace aspn2_msgs::idl
