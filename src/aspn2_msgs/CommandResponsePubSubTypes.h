#pragma once

#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::CommandResponse>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(CommandResponse)

}  // namespace aspn2_msgs::idl
