#pragma once

#include "aspn2_msgs/GPSTime.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::GPSTime>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(GPSTime)

}  // namespace aspn2_msgs::idl
