#include "aspn2_msgs/UTCTime.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(UTCTime)

}  // namespace aspn2_msgs::idl
