#include "aspn2_msgs/EventLogPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::EventLog>;
