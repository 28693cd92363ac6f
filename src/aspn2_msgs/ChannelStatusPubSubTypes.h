#pragma once

#include "aspn2_msgs/ChannelStatus.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::ChannelStatus>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(ChannelStatus)

}  // namespace aspn2_msgs::idl
