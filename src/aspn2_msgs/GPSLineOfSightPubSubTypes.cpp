#include "aspn2_msgs/GPSLineOfSightPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::GPSLineOfSight>;
