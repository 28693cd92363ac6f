#pragma once

#include "aspn2_msgs/GNSS.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::GNSS>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(GNSS)

}  // namespace aspn2_msgs::idl
