#include "aspn2_msgs/ChannelStatus.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(ChannelStatus)

}  // namespace aspn2_msgs::idl
