#include "aspn2_msgs/SVStatusPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::SVStatus>;
