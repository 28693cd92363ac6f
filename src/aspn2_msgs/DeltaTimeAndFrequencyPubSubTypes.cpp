#include "aspn2_msgs/DeltaTimeAndFrequencyPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::DeltaTimeAndFrequency>;
