#include "aspn2_msgs/NavigationMode.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(NavigationMode)

}  // namespace aspn2_msgs::idl
