#pragma once

#include "aspn2_msgs/MaintenanceEvent.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::MaintenanceEvent>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(MaintenanceEvent)

}  // namespace aspn2_msgs::idl
