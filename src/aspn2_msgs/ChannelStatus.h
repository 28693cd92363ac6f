#pragma once

#include <cstdint>
#include <vector>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/channel_status_obs.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_ChannelStatus(FIELD)  \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(num_channels, std::int32_t)      \
    FIELD(channels, std::vector<aspn2_msgs::idl::channel_status_obs>)

namespace aspn2_msgs::idl {

/** The channels of a receiver. */
ASPN2_DECLARE_STRUCTURE(ChannelStatus)

}  // namespace aspn2_msgs::idl
