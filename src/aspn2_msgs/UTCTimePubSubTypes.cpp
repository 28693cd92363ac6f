#include "aspn2_msgs/UTCTimePubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::UTCTime>;
