#include "aspn2_msgs/Velocity3D.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(Velocity3D)

}  // namespace aspn2_msgs::idl
