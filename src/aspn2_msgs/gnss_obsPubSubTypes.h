#pragma once

#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/gnss_obs.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::gnss_obs>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(gnss_obs)

}  // namespace aspn2_msgs::idl
