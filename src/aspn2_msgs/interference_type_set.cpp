#include "aspn2_msgs/interference_type_set.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(interference_type_set)

}  // namespace aspn2_msgs::idl
