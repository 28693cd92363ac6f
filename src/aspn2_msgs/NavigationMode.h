#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_NavigationMode(FIELD) \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(navigation_mode, navigation_mode_enum)

namespace aspn2_msgs::idl {

/** What its values mean is for those who write it to say: each is kept as it is. */
enum navigation_mode_enum : std::uint32_t { NAVIGATION_MODE_UNKNOWN = 0 };

/** The mode of the navigation. */
ASPN2_DECLARE_STRUCTURE(NavigationMode)

}  // namespace aspn2_msgs::idl
