#include "aspn2_msgs/CommandResponsePubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::CommandResponse>;
