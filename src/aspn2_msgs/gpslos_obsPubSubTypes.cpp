#include "aspn2_msgs/gpslos_obsPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::gpslos_obs>;
