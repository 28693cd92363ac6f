#include "aspn2_msgs/lru_comp_set.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(lru_comp_set)

}  // namespace aspn2_msgs::idl
