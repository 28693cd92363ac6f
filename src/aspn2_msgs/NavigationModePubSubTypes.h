#pragma once

#include "aspn2_msgs/NavigationMode.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::NavigationMode>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(NavigationMode)

}  // namespace aspn2_msgs::idl
