#include "aspn2_msgs/channel_status_obs.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(channel_status_obs)

}  // namespace aspn2_msgs::idl
