#include "aspn2_msgs/ReceiverStatusPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::ReceiverStatus>;
