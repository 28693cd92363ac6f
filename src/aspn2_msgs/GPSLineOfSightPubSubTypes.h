#pragma once

#include "aspn2_msgs/GPSLineOfSight.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::GPSLineOfSight>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(GPSLineOfSight)

}  // namespace aspn2_msgs::idl
