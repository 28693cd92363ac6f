#include "tss/HC_TypedTS.h"

namespace FACE::TSS::Details {

template class HC_TypedTS<aspn2_msgs::idl::CommandResponse>;
template class HC_TypedTS<aspn2_msgs::idl::EventLog>;
template class HC_TypedTS<aspn2_msgs::idl::MaintenanceEvent>;

}  // namespace FACE::TSS::Details
