#include "aspn2_msgs/MaintenanceEventPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::MaintenanceEvent>;
