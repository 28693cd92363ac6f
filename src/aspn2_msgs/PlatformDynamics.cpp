#include "aspn2_msgs/PlatformDynamics.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(PlatformDynamics)

}  // namespace aspn2_msgs::idl
