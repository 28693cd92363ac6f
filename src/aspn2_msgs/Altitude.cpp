#include "aspn2_msgs/Altitude.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(Altitude)

}  // namespace aspn2_msgs::idl
