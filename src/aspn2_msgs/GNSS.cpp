#include "aspn2_msgs/GNSS.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(GNSS)

}  // namespace aspn2_msgs::idl
