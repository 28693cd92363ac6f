#pragma once

#include "aspn2_msgs/HalcyrinePNT.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::HalcyrinePNT>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(HalcyrinePNT)

}  // namespace aspn2_msgs::idl
