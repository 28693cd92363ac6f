#include "aspn2_msgs/BitReportPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::BitReport>;
