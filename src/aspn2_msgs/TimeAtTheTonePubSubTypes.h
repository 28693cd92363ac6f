#pragma once

#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/TimeAtTheTone.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::TimeAtTheTone>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(TimeAtTheTone)

}  // namespace aspn2_msgs::idl
