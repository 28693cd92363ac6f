#pragma once

#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/channel_status_obs.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::channel_status_obs>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(channel_status_obs)

}  // namespace aspn2_msgs::idl
