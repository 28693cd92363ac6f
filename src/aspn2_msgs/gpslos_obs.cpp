#include "aspn2_msgs/gpslos_obs.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(gpslos_obs)

}  // namespace aspn2_msgs::idl
