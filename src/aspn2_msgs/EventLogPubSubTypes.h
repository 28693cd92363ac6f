#pragma once

#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::EventLog>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(EventLog)

}  // namespace aspn2_msgs::idl
