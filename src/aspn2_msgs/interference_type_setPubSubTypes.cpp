#include "aspn2_msgs/interference_type_setPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::interference_type_set>;
