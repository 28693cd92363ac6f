#include "aspn2_msgs/TimeAtTheTone.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(TimeAtTheTone)

}  // namespace aspn2_msgs::idl
