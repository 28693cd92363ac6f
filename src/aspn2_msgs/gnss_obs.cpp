#include "aspn2_msgs/gnss_obs.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(gnss_obs)

}  // namespace aspn2_msgs::idl
