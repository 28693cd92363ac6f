#include "aspn2_msgs/ThreeAxisMagnetometerPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::ThreeAxisMagnetometer>;
