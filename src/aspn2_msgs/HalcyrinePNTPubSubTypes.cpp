#include "aspn2_msgs/HalcyrinePNTPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::HalcyrinePNT>;
