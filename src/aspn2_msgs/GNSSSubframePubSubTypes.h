#pragma once

#include "aspn2_msgs/GNSSSubframe.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::GNSSSubframe>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(GNSSSubframe)

}  // namespace aspn2_msgs::idl
