#pragma once

#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/TimeSync.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::TimeSync>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(TimeSync)

}  // namespace aspn2_msgs::idl
