#pragma once

#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::BitReport>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(BitReport)

}  // namespace aspn2_msgs::idl
