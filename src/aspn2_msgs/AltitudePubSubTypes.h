#pragma once

#include "aspn2_msgs/Altitude.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::Altitude>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(Altitude)

}  // namespace aspn2_msgs::idl
