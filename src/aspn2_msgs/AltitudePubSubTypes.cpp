#include "aspn2_msgs/AltitudePubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::Altitude>;
