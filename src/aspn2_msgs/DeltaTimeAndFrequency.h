#pragma once

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_DeltaTimeAndFrequency(FIELD) \
    FIELD(header, aspn2_msgs::idl::header)        \
    FIELD(dt, double)                             \
    FIELD(variance, double)                       \
    FIELD(freqB, double)

namespace aspn2_msgs::idl {

/** The offset of a clock, and of its frequency. */
ASPN2_DECLARE_STRUCTURE(DeltaTimeAndFrequency)

}  // namespace aspn2_msgs::idl
