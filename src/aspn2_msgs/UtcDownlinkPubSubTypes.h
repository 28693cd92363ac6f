#pragma once

#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/UtcDownlink.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::UtcDownlink>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(UtcDownlink)

}  // namespace aspn2_msgs::idl
