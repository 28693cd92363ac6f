#pragma once

#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/UTCTime.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::UTCTime>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(UTCTime)

}  // namespace aspn2_msgs::idl
