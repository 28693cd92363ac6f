#include "aspn2_msgs/DeltaTimeAndFrequency.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(DeltaTimeAndFrequency)

}  // namespace aspn2_msgs::idl
