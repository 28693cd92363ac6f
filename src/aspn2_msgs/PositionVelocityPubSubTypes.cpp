#include "aspn2_msgs/PositionVelocityPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::PositionVelocity>;
