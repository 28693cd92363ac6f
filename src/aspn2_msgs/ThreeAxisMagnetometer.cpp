#include "aspn2_msgs/ThreeAxisMagnetometer.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(ThreeAxisMagnetometer)

}  // namespace aspn2_msgs::idl
