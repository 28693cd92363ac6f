#pragma once

#include <cstdint>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/header.h"

#define ASPN2_FIELDS_HalcyrinePNT(FIELD)   \
    FIELD(header, aspn2_msgs::idl::header) \
    FIELD(GPS_Time, double)                \
    FIELD(UTC_Time, double)                \
    FIELD(ECEF_Pos_X, double)              \
    FIELD(ECEF_Pos_Y, double)              \
    FIELD(ECEF_Pos_Z, double)              \
    FIELD(ECEF_Vel_X, double)              \
    FIELD(ECEF_Vel_Y, double)              \
    FIELD(ECEF_Vel_Z, double)              \
    FIELD(Roll, double)                    \
    FIELD(Pitch, double)                   \
    FIELD(Heading, double)                 \
    FIELD(Horz_PosError, double)           \
    FIELD(Vert_PosError, double)           \
    FIELD(Horz_Vel_Error, double)          \
    FIELD(Vert_VelError, double)           \
    FIELD(Time_Error, double)              \
    FIELD(Roll_Error, double)              \
    FIELD(Pitch_Error, double)             \
    FIELD(Heading_Error, double)           \
    FIELD(GPS_Week, std::int64_t)          \
    FIELD(HC_PNT_Solution_Assurance, HC_PNT_Solution_Assurance_enum)

namespace aspn2_msgs::idl {

/** What its values mean is for those who write it to say: each is kept as it is. */
enum HC_PNT_Solution_Assurance_enum : std::uint32_t { HC_PNT_SOLUTION_ASSURANCE_UNKNOWN = 0 };

/** The system's solution of position, velocity, attitude and time, with its errors. */
ASPN2_DECLARE_STRUCTURE(HalcyrinePNT)

}  // namespace aspn2_msgs::idl
