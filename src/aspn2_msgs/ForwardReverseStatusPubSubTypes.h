#pragma once

#include "aspn2_msgs/ForwardReverseStatus.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::ForwardReverseStatus>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(ForwardReverseStatus)

}  // namespace aspn2_msgs::idl
