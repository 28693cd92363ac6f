#include "aspn2_msgs/UtcDownlink.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(UtcDownlink)

}  // namespace aspn2_msgs::idl
