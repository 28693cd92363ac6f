#include "aspn2_msgs/PositionVelocity.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(PositionVelocity)

}  // namespace aspn2_msgs::idl
