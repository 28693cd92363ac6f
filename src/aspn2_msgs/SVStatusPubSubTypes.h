#pragma once

#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/SVStatus.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::SVStatus>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(SVStatus)

}  // namespace aspn2_msgs::idl
