#include "aspn2_msgs/ChallengedEnvironment.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(ChallengedEnvironment)

}  // namespace aspn2_msgs::idl
