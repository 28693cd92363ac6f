#pragma once

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_TimeAtTheTone(FIELD) FIELD(header, aspn2_msgs::idl::header)

namespace aspn2_msgs::idl {

/** Marks a moment: that of its header. */
ASPN2_DECLARE_STRUCTURE(TimeAtTheTone)

}  // namespace aspn2_msgs::idl
