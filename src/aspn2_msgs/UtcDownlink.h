#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_UtcDownlink(FIELD)    \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(a0, double)                      \
    FIELD(a1, double)                      \
    FIELD(tot, std::int32_t)               \
    FIELD(WNt, std::int32_t)               \
    FIELD(delta_t_ls, std::int32_t)        \
    FIELD(wn_lsf, std::int32_t)            \
    FIELD(dn, std::int32_t)                \
    FIELD(delta_t_lsf, std::int32_t)

namespace aspn2_msgs::idl {

/** The satellites' parameters of UTC. */
ASPN2_DECLARE_STRUCTURE(UtcDownlink)

}  // namespace aspn2_msgs::idl
