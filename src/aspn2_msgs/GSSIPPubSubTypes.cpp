#include "aspn2_msgs/GSSIPPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::GSSIP>;
