#pragma once

#include "aspn2_msgs/DeltaTimeAndFrequency.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::DeltaTimeAndFrequency>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(DeltaTimeAndFrequency)

}  // namespace aspn2_msgs::idl
