#include "aspn2_msgs/GPSCryptoStatusPubSubTypes.h"

template class aspn2_msgs::PubSubType<aspn2_msgs::idl::GPSCryptoStatus>;
