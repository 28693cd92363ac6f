#include "aspn2_msgs/meas_type_setPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::meas_type_set>;
