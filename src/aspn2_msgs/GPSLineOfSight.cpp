#include "aspn2_msgs/GPSLineOfSight.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(GPSLineOfSight)

}  // namespace aspn2_msgs::idl
