#include "aspn2_msgs/channel_status_obsPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::channel_status_obs>;
