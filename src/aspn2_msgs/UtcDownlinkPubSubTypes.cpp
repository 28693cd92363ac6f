#include "aspn2_msgs/UtcDownlinkPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::UtcDownlink>;
