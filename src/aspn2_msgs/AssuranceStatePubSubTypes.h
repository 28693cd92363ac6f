#pragma once

#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::AssuranceState>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(AssuranceState)

}  // namespace aspn2_msgs::idl
