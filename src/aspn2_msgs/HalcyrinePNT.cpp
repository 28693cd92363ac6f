#include "aspn2_msgs/HalcyrinePNT.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(HalcyrinePNT)

}  // namespace aspn2_msgs::idl
