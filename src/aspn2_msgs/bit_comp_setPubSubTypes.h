#pragma once

#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/bit_comp_set.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::bit_comp_set>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(bit_comp_set)

}  // namespace aspn2_msgs::idl
