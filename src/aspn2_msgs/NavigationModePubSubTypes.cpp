#include "aspn2_msgs/NavigationModePubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::NavigationMode>;
