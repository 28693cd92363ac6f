#include "aspn2_msgs/TimeSyncPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::TimeSync>;
