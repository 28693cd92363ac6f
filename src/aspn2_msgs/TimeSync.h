#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_TimeSync(FIELD)       \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(SyncCount, std::int64_t)         \
    FIELD(Time_NS, std::int64_t)

namespace aspn2_msgs::idl {

/** Synchronises clocks: a count, and its time. */
ASPN2_DECLARE_STRUCTURE(TimeSync)

}  // namespace aspn2_msgs::idl
