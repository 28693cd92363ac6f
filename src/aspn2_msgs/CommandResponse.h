#pragma once

#include <cstdint>
#include <string>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_CommandResponse(FIELD)                  \
    FIELD(header, aspn2_msgs::idl::header)                   \
    FIELD(commanded_device_id, std::int32_t)                 \
    FIELD(command_identifier, std::int32_t)                  \
    FIELD(command_response_type, command_response_type_enum) \
    FIELD(command_response, std::string)

namespace aspn2_msgs::idl {

/** A value of the wire outside the list is kept as it is. */
enum command_response_type_enum : std::uint32_t {
    COMMAND_RESPONSE_TYPE_COMMAND = 0,
    COMMAND_RESPONSE_TYPE_RESPONSE = 1,
};

/** A system command, or a server's response to one. */
ASPN2_DECLARE_STRUCTURE(CommandResponse)

}  // namespace aspn2_msgs::idl
