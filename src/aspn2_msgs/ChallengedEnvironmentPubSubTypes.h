#pragma once

#include "aspn2_msgs/ChallengedEnvironment.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::ChallengedEnvironment>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(ChallengedEnvironment)

}  // namespace aspn2_msgs::idl
