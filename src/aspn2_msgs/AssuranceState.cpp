#include "aspn2_msgs/AssuranceState.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(AssuranceState)

}  // namespace aspn2_msgs::idl
