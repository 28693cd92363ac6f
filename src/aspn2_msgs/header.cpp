#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(header)

}  // namespace aspn2_msgs::idl
