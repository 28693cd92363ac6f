#include "aspn2_msgs/IMU.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(IMU)

}  // namespace aspn2_msgs::idl
