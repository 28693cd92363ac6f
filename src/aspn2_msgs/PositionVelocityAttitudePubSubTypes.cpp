#include "aspn2_msgs/PositionVelocityAttitudePubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::PositionVelocityAttitude>;
