#pragma once

#include "aspn2_msgs/BitEntryStatus.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::BitEntryStatus>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(BitEntryStatus)

}  // namespace aspn2_msgs::idl
