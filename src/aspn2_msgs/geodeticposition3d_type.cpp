#include "aspn2_msgs/geodeticposition3d_type.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(geodeticposition3d_type)

}  // namespace aspn2_msgs::idl
