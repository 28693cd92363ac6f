#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"

#define ASPN2_FIELDS_key_type_set(FIELD)         \
    FIELD(key_type, key_type_enum)               \
    FIELD(remaining_key_time, std::int32_t)      \
    FIELD(key_status, key_status_enum)           \
    FIELD(key_load_status, key_load_status_enum) \
    FIELD(key_zeroization_status, key_zeroization_status_enum)

namespace aspn2_msgs::idl {

// What their values mean is for those who write them to say: each is kept as it is.
enum key_type_enum : std::uint32_t { KEY_TYPE_UNKNOWN = 0 };
enum key_status_enum : std::uint32_t { KEY_STATUS_UNKNOWN = 0 };
enum key_load_status_enum : std::uint32_t { KEY_LOAD_STATUS_UNKNOWN = 0 };
enum key_zeroization_status_enum : std::uint32_t { KEY_ZEROIZATION_STATUS_UNKNOWN = 0 };

/** The state of one sort of key. */
ASPN2_DECLARE_STRUCTURE(key_type_set)

}  // namespace aspn2_msgs::idl
