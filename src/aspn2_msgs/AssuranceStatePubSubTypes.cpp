#include "aspn2_msgs/AssuranceStatePubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::AssuranceState>;
