#pragma once

#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/Velocity3D.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::Velocity3D>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(Velocity3D)

}  // namespace aspn2_msgs::idl
