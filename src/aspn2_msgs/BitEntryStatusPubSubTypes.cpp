#include "aspn2_msgs/BitEntryStatusPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::BitEntryStatus>;
