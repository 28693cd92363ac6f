#include "aspn2_msgs/sv_setPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::sv_set>;
