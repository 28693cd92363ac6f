#include "aspn2_msgs/ForwardReverseStatus.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(ForwardReverseStatus)

}  // namespace aspn2_msgs::idl
