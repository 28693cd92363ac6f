#include "aspn2_msgs/PositionVelocityAttitude.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(PositionVelocityAttitude)

}  // namespace aspn2_msgs::idl
