#include "aspn2_msgs/BitEntryStatus.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(BitEntryStatus)

}  // namespace aspn2_msgs::idl
