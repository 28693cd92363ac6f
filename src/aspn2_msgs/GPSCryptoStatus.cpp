#include "aspn2_msgs/GPSCryptoStatus.h"

namespace aspn2_msgs::idl {

ASPN2_DEFINE_STRUCTURE(GPSCryptoStatus)

}  // namespace aspn2_msgs::idl
