#include "ASPN/AspnHelper.h"

#include <limits>

namespace ASPN2 {

namespace {

namespace idl = aspn2_msgs::idl;

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::int64_t countDelay = 8;  // [ns]

timestamp fromNanoseconds(std::chrono::nanoseconds since) {
    return {since.count() / nanosecondsPerSecond,
            static_cast<std::int32_t>(since.count() % nanosecondsPerSecond),
            TimeCodeHelper::Instance().getTimeCode()};
}

/** Whole seconds are split off first, so that no count is too large for the arithmetic. */
timestamp fromTicks(std::uint64_t ticks) {
    static_assert(fpgaTicksPerSecond * 78125 / 4608 == nanosecondsPerSecond);
    auto seconds = static_cast<std::int64_t>(ticks / fpgaTicksPerSecond);
    std::int64_t nanoseconds =
        static_cast<std::int64_t>(ticks % fpgaTicksPerSecond * 78125 / 4608) - countDelay;
    if (nanoseconds < 0 && seconds > 0) {
        --seconds;
        nanoseconds += nanosecondsPerSecond;
    }
    return {seconds, static_cast<std::int32_t>(nanoseconds),
            TimeCodeHelper::Instance().getTimeCode()};
}

idl::timestamp toMessage(const timestamp& stamp) {
    idl::timestamp message;
    message.sec(stamp.sec);
    message.nsec(stamp.nsec);
    message.time_code(stamp.time_code);
    return message;
}

timestamp fromMessage(const idl::timestamp& message) {
    return {message.sec(), message.nsec(), message.time_code()};
}

double difference(const timestamp& a, const timestamp& b) {
    std::int64_t seconds = 0;
    const bool beyond = __builtin_sub_overflow(a.sec, b.sec, &seconds);
    return (beyond ? static_cast<double>(a.sec) - static_cast<double>(b.sec)
                   : static_cast<double>(seconds)) +
           static_cast<double>(std::int64_t{a.nsec} - b.nsec) * 1e-9;
}

}  // namespace

TimeCodeHelper& TimeCodeHelper::Instance() {
    static TimeCodeHelper instance;
    return instance;
}

std::chrono::nanoseconds getNSec_fromToA(const idl::header& from) {
    const timestamp arrival = fromMessage(from.timestamp_arrival());
    std::int64_t sum = 0;
    if (__builtin_mul_overflow(arrival.sec, nanosecondsPerSecond, &sum) ||
        __builtin_add_overflow(sum, arrival.nsec, &sum)) {
        return arrival.sec < 0 ? std::chrono::nanoseconds::min() : std::chrono::nanoseconds::max();
    }
    return std::chrono::nanoseconds(sum);
}

double deltaTov(const idl::header& a, const idl::header& b) {
    return difference(fromMessage(a.timestamp_valid()), fromMessage(b.timestamp_valid()));
}

double deltaTov(const header& a, const header& b) {
    return difference(a.timestamp_valid, b.timestamp_valid);
}

void setToV_fromNSec(std::chrono::nanoseconds since, idl::header& to) {
    to.timestamp_valid(toMessage(fromNanoseconds(since)));
}

void setToVandToA_fromNSec(std::chrono::nanoseconds since, idl::header& to) {
    setToV_fromNSec(since, to);
    to.timestamp_arrival(to.timestamp_valid());
}

void setToV_fromFpgaTicks(std::uint64_t ticks, idl::header& to) {
    to.timestamp_valid(toMessage(fromTicks(ticks)));
}

void setToV_fromFpgaTicks(std::uint64_t ticks, header& to) {
    to.timestamp_valid = fromTicks(ticks);
}

void setToA_fromFpgaTicks(std::uint64_t ticks, idl::header& to) {
    to.timestamp_arrival(toMessage(fromTicks(ticks)));
}

void setToA_fromFpgaTicks(std::uint64_t ticks, header& to) {
    to.timestamp_arrival = fromTicks(ticks);
}

void setToVandToA_fromFpgaTicks(std::uint64_t ticks, idl::header& to) {
    setToV_fromFpgaTicks(ticks, to);
    to.timestamp_arrival(to.timestamp_valid());
}

void setToVandToA_fromFpgaTicks(std::uint64_t ticks, header& to) {
    setToV_fromFpgaTicks(ticks, to);
    to.timestamp_arrival = to.timestamp_valid;
}

void setToVandToA_fromTo(const header& from, idl::header& to) {
    to.timestamp_valid(toMessage(from.timestamp_valid));
    to.timestamp_arrival(toMessage(from.timestamp_arrival));
}

void setToVandToA_fromTo(const idl::header& from, header& to) {
    to.timestamp_valid = fromMessage(from.timestamp_valid());
    to.timestamp_arrival = fromMessage(from.timestamp_arrival());
}

void copyHeader_fromTo(const header& from, idl::header& to) {
    setToVandToA_fromTo(from, to);
    to.seq_num(from.seq_num);
    to.device_id(from.device_id);
}

void copyHeader_fromTo(const idl::header& from, header& to) {
    setToVandToA_fromTo(from, to);
    to.seq_num = from.seq_num();
    to.device_id = from.device_id();
}

}  // namespace ASPN2
