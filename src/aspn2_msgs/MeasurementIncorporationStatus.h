#pragma once

#include <cstdint>
#include <vector>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"
#include "aspn2_msgs/meas_type_set.h"

#define ASPN2_FIELDS_MeasurementIncorporationStatus(FIELD) \
    FIELD(header, aspn2_msgs::idl::header)                 \
    FIELD(num_measurement_types, std::int32_t)             \
    FIELD(meas_types, std::vector<aspn2_msgs::idl::meas_type_set>)

namespace aspn2_msgs::idl {

/** Which measurements the solution has used. */
ASPN2_DECLARE_STRUCTURE(MeasurementIncorporationStatus)

}  // namespace aspn2_msgs::idl
