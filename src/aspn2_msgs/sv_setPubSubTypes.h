#pragma once

#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/sv_set.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::sv_set>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(sv_set)

}  // namespace aspn2_msgs::idl
