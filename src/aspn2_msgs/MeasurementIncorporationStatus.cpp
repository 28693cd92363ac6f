#include "aspn2_msgs/MeasurementIncorporationStatus.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(MeasurementIncorporationStatus)

}  // namespace aspn2_msgs::idl
