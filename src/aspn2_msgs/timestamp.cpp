#include "aspn2_msgs/timestamp.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(timestamp)

}  // namespace aspn2_msgs::idl
