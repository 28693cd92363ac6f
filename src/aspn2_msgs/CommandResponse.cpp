#include "aspn2_msgs/CommandResponse.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(CommandResponse)

}  // namespace aspn2_msgs::idl
