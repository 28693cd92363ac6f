#include "aspn2_msgs/TimeSync.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(TimeSync)

}  // namespace aspn2_msgs::idl
