#include "aspn2_msgs/GSSIP.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(GSSIP)

}  // namespace aspn2_msgs::idl
