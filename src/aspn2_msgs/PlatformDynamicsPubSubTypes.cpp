#include "aspn2_msgs/PlatformDynamicsPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::PlatformDynamics>;
