#pragma once

#include "aspn2_msgs/PositionVelocity.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::PositionVelocity>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(PositionVelocity)

}  // namespace aspn2_msgs::idl
