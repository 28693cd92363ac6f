#include "aspn2_msgs/MaintenanceEvent.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(MaintenanceEvent)

}  // namespace aspn2_msgs::idl
