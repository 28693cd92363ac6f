#include "aspn2_msgs/MeasurementIncorporationStatusPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::MeasurementIncorporationStatus>;
