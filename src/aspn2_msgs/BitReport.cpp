#include "aspn2_msgs/BitReport.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(BitReport)

}  // namespace aspn2_msgs::idl
