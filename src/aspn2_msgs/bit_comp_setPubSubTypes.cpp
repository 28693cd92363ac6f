#include "aspn2_msgs/bit_comp_setPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::bit_comp_set>;
