#include "aspn2_msgs/GNSSPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::GNSS>;
