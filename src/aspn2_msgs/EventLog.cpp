#include "aspn2_msgs/EventLog.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(EventLog)

}  // namespace aspn2_msgs::idl
