#pragma once

#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/ThreeAxisMagnetometer.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::ThreeAxisMagnetometer>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(ThreeAxisMagnetometer)

}  // namespace aspn2_msgs::idl
