#include "aspn2_msgs/GPSTimePubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::GPSTime>;
