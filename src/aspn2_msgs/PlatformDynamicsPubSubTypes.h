#pragma once

#include "aspn2_msgs/PlatformDynamics.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::PlatformDynamics>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(PlatformDynamics)

}  // namespace aspn2_msgs::idl
