#include "aspn2_msgs/key_type_set.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(key_type_set)

}  // namespace aspn2_msgs::idl
