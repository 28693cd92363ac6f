#pragma once

#include <array>
#include <cstdint>

#include "aspn2_msgs/Message.h"

#define ASPN2_FIELDS_gpslos_obs(FIELD)               \
    FIELD(prn, std::int32_t)                         \
    FIELD(channel_state, channel_state_enum)         \
    FIELD(channel_frequency, channel_frequency_enum) \
    FIELD(channel_code, channel_code_enum)           \
    FIELD(ere, double)                               \
    FIELD(c_n0, std::int32_t)                        \
    FIELD(assurance, assurance_enum)                 \
    FIELD(pseudorange_measurement_valid, bool)       \
    FIELD(pseudorange_measurement, double)           \
    FIELD(pseudorange_measurement_variance, double)  \
    FIELD(deltarange_measurement_valid, bool)        \
    FIELD(deltarange_measurement, double)            \
    FIELD(deltarange_measurement_variance, double)   \
    FIELD(deltarange_interval, double)               \
    FIELD(sv_position_start, std::array<double, 3>)  \
    FIELD(sv_position_stop, std::array<double, 3>)   \
    FIELD(tropo_correction_applied, bool)            \
    FIELD(iono_correction_applied, bool)             \
    FIELD(iono_correction_source, iono_correction_source_enum)

namespace aspn2_msgs::idl {

// What their values mean is for those who write them to say: each is kept as it is.
enum channel_state_enum : std::uint32_t { CHANNEL_STATE_UNKNOWN = 0 };
enum channel_frequency_enum : std::uint32_t { CHANNEL_FREQUENCY_UNKNOWN = 0 };
enum channel_code_enum : std::uint32_t { CHANNEL_CODE_UNKNOWN = 0 };
enum assurance_enum : std::uint32_t { ASSURANCE_UNKNOWN = 0 };
enum iono_correction_source_enum : std::uint32_t { IONO_CORRECTION_SOURCE_UNKNOWN = 0 };

/** The measurements along one line of sight. */
ASPN2_DECLARE_STRUCTURE(gpslos_obs)

}  // namespace aspn2_msgs::idl
