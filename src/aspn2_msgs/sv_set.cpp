#include "aspn2_msgs/sv_set.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(sv_set)

}  // namespace aspn2_msgs::idl
