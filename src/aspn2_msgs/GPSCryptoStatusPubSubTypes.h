#pragma once

#include "aspn2_msgs/GPSCryptoStatus.h"
#include "aspn2_msgs/PubSubType.h"

extern template class aspn2_msgs::PubSubType<aspn2_msgs::idl::GPSCryptoStatus>;

namespace aspn2_msgs::idl {

ASPN2_DECLARE_PUBSUBTYPE(GPSCryptoStatus)

}  // namespace aspn2_msgs::idl
