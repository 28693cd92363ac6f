#pragma once

#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/interference_type_set.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::interference_type_set>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(interference_type_set)

}  // namespace aspn2_msgs::idl
