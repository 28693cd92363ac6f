#include "aspn2_msgs/Velocity3DPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::Velocity3D>;
