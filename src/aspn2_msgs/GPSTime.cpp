#include "aspn2_msgs/GPSTime.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(GPSTime)

}  // namespace aspn2_msgs::idl
