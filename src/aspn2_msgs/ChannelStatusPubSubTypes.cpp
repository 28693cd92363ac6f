#include "aspn2_msgs/ChannelStatusPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::ChannelStatus>;
