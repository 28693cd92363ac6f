#include "aspn2_msgs/lru_comp_setPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::lru_comp_set>;
