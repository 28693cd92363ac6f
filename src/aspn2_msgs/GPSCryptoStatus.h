#pragma once

#include <cstdint>
#include <vector>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"
#include "aspn2_msgs/key_type_set.h"

#define ASPN2_FIELDS_GPSCryptoStatus(FIELD) \
    FIELD(header, aspn2_msgs::idl::header)  \
    FIELD(num_key_types, std::int32_t)      \
    FIELD(key_types, std::vector<aspn2_msgs::idl::key_type_set>)

namespace aspn2_msgs::idl {

/** The state of the receiver's keys. */
ASPN2_DECLARE_STRUCTURE(GPSCryptoStatus)

}  // namespace aspn2_msgs::idl
