#include "aspn2_msgs/SVStatus.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(SVStatus)

}  // namespace aspn2_msgs::idl
