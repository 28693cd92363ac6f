#include "aspn2_msgs/ForwardReverseStatusPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::ForwardReverseStatus>;
