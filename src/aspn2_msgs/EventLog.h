#pragma once

#include <cstdint>
#include <string>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_EventLog(FIELD)           \
    FIELD(header, aspn2_msgs::idl::header)     \
    FIELD(event_log_type, event_log_type_enum) \
    FIELD(eventlog, std::string)

namespace aspn2_msgs::idl {

/** A value of the wire outside the list is kept as it is. */
enum event_log_type_enum : std::uint32_t {
    EVENT_LOG_TYPE_UNKNOWN = 0,
    EVENT_LOG_TYPE_INFO = 2,
    EVENT_LOG_TYPE_WARNING = 3,
    EVENT_LOG_TYPE_ERROR = 4,
};

/** One entry of the system's event log. */
ASPN2_DECLARE_STRUCTURE(EventLog)

}  // namespace aspn2_msgs::idl
