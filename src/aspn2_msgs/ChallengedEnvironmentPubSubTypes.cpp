#include "aspn2_msgs/ChallengedEnvironmentPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::ChallengedEnvironment>;
