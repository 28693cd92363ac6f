#include "aspn2_msgs/GNSSSubframe.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(GNSSSubframe)

}  // namespace aspn2_msgs::idl
