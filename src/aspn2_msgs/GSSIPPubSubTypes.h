#pragma once

#include "aspn2_msgs/GSSIP.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::GSSIP>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(GSSIP)

}  // namespace aspn2_msgs::idl
