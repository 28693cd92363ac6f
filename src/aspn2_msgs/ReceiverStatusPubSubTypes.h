#pragma once

#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/ReceiverStatus.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::ReceiverStatus>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(ReceiverStatus)

}  // namespace aspn2_msgs::idl
