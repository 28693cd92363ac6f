#include "aspn2_msgs/gnss_obsPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::gnss_obs>;
