#pragma once

#include "aspn2_msgs/IMU.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::IMU>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(IMU)

}  // namespace aspn2_msgs::idl
