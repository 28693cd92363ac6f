#include "aspn2_msgs/IMUPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::IMU>;
