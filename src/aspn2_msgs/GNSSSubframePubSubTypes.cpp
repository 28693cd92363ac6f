#include "aspn2_msgs/GNSSSubframePubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::GNSSSubframe>;
