/** Time stamps of messages: set from the FPGA's system count or from nanoseconds, copied, compared.
 *
 *  A message's head has two of them, the time of validity (ToV) and the time of arrival (ToA). Each
 *  stamp that is set gets the process-wide time code. But for that code the functions touch their
 *  arguments alone.
 */
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

#include "aspn2_msgs/header.h"

namespace ASPN2 {

/** The in-memory form of a message's time stamp. */
struct timestamp {
    std::int64_t sec = 0;
    std::int32_t nsec = 0;
    std::int32_t time_code = 0;

    bool operator==(const timestamp&) const = default;
};

/** The in-memory form of a message's head. */
struct header {
    std::int64_t seq_num = 0;
    timestamp timestamp_arrival;
    timestamp timestamp_valid;
    std::int32_t device_id = 0;

    bool operator==(const header&) const = default;
};

/** The time code of the process, 100 live or 101 simulation; live at first. Safe from any thread.
 */
class TimeCodeHelper {
public:
    static TimeCodeHelper& Instance();

    void setLiveMode() { m_timeCode = live; }
    void setSimMode() { m_timeCode = simulation; }
    std::int32_t getTimeCode() const { return m_timeCode; }

private:
    static constexpr std::int32_t live = 100;
    static constexpr std::int32_t simulation = 101;

    TimeCodeHelper() = default;

    std::atomic<std::int32_t> m_timeCode = live;
};

/** Ticks of the FPGA's system count in a second. */
inline constexpr std::uint64_t fpgaTicksPerSecond = 58982400;

/** The ToA as a duration; one beyond some 292 years gives the nearest end of the range. */
std::chrono::nanoseconds getNSec_fromToA(const aspn2_msgs::idl::header& from);

/** ToV of `a` minus ToV of `b` [s]. */
double deltaTov(const aspn2_msgs::idl::header& a, const aspn2_msgs::idl::header& b);
double deltaTov(const header& a, const header& b);

/** Sets the ToV, or both stamps alike. Seconds and nanoseconds both have the sign of the duration.
 */
void setToV_fromNSec(std::chrono::nanoseconds since, aspn2_msgs::idl::header& to);
void setToVandToA_fromNSec(std::chrono::nanoseconds since, aspn2_msgs::idl::header& to);

/** Sets one stamp, or both alike, from the FPGA's system count, less a fixed delay of 8 ns. The
 *  seconds are never negative; a count of 0 gives 0 s and -8 ns.
 */
void setToV_fromFpgaTicks(std::uint64_t ticks, aspn2_msgs::idl::header& to);
void setToV_fromFpgaTicks(std::uint64_t ticks, header& to);
void setToA_fromFpgaTicks(std::uint64_t ticks, aspn2_msgs::idl::header& to);
void setToA_fromFpgaTicks(std::uint64_t ticks, header& to);
void setToVandToA_fromFpgaTicks(std::uint64_t ticks, aspn2_msgs::idl::header& to);
void setToVandToA_fromFpgaTicks(std::uint64_t ticks, header& to);

/** Copies both stamps, time codes included. */
void setToVandToA_fromTo(const header& from, aspn2_msgs::idl::header& to);
void setToVandToA_fromTo(const aspn2_msgs::idl::header& from, header& to);

/** Copies all fields. */
void copyHeader_fromTo(const header& from, aspn2_msgs::idl::header& to);
void copyHeader_fromTo(const aspn2_msgs::idl::header& from, header& to);

}  // namespace ASPN2
