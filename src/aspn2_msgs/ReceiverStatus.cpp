#include "aspn2_msgs/ReceiverStatus.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(ReceiverStatus)

}  // namespace aspn2_msgs::idl
