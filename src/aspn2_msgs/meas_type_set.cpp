#include "aspn2_msgs/meas_type_set.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(meas_type_set)

}  // namespace aspn2_msgs::idl
