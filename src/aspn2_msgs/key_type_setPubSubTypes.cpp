#include "aspn2_msgs/key_type_setPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::key_type_set>;
