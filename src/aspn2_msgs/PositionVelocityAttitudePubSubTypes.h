#pragma once

#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::PositionVelocityAttitude>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(PositionVelocityAttitude)

}  // namespace aspn2_msgs::idl
