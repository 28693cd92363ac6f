#pragma once

#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::MeasurementIncorporationStatus>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(MeasurementIncorporationStatus)

}  // namespace aspn2_msgs::idl
