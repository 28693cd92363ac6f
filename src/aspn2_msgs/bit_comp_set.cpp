#include "aspn2_msgs/bit_comp_set.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(bit_comp_set)

}  // namespace aspn2_msgs::idl
