#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_BitEntryStatus(FIELD)        \
    FIELD(header, aspn2_msgs::idl::header)        \
    FIELD(requestedEntryAvailable, bool)          \
    FIELD(testCodeOfRequestedEntry, std::uint8_t) \
    FIELD(subTestCodeOfRequestedEntry, std::uint8_t)

namespace aspn2_msgs::idl {

/** One entry of the built-in test, as it was asked for. */
ASPN2_DECLARE_STRUCTURE(BitEntryStatus)

}  // namespace aspn2_msgs::idl
