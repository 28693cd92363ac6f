#include "aspn2_msgs/TimeAtTheTonePubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::TimeAtTheTone>;
