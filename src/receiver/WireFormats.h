/** How a value lies in the data bytes of a message. Each format reads and writes at the byte where
 *  its field begins, which needs no alignment, and says which bits from there on are its own.
 *  The conversions to IEEE are calls, not copies in each field: less code is faster once a second.
 */
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "receiver/GssipFrame.h"
#include "receiver/cvt.h"

namespace wire {

/** A value that lies in the message as it does in host memory, such as a byte or a u16. */
template <typename T>
struct Plain {
    using Value = T;
    static constexpr std::size_t kFirstBit = 0;
    static constexpr std::size_t kBits = 8 * sizeof(T);

    static T read(unsigned char const* data) {
        T value;
        std::memcpy(&value, data, sizeof value);
        return value;
    }
    static void write(unsigned char* data, const T& value) {
        std::memcpy(data, &value, sizeof value);
    }
};

using Byte = Plain<std::uint8_t>;
using U16 = Plain<std::uint16_t>;
using S16 = Plain<std::int16_t>;

/** `kCount` bits of one byte, from bit `kFirst` on. */
template <std::size_t kFirst, std::size_t kCount>
struct Bits {
    static_assert(kCount > 0 && kFirst + kCount <= 8);
    using Value = std::uint8_t;
    static constexpr std::size_t kFirstBit = kFirst;
    static constexpr std::size_t kBits = kCount;
    static constexpr unsigned kMask = (1U << kCount) - 1;

    static Value read(unsigned char const* data) {
        return static_cast<Value>(*data >> kFirst & kMask);
    }
    static void write(unsigned char* data, unsigned value) {
        *data =
            static_cast<unsigned char>((*data & ~(kMask << kFirst)) | (value & kMask) << kFirst);
    }
};

/** A signed word of hundredths. */
struct S16Hundredths : S16 {
    using Value = double;
    static double read(unsigned char const* data) { return S16::read(data) / 100.0; }
};

struct PdpDouble : Plain<std::uint64_t> {
    using Value = double;

    /** The number with word 0 on top. */
    static std::uint64_t bits(unsigned char const* data) { return reverseWords(Plain::read(data)); }
    [[gnu::noinline]] static double read(unsigned char const* data) {
        return cvt::fromPdpDouble(bits(data));
    }
    static void write(unsigned char* data, double value) {
        Plain::write(data, reverseWords(cvt::toPdpDouble(value)));
    }

private:
    static constexpr std::uint64_t reverseWords(std::uint64_t value) {
        constexpr std::uint64_t kLow = 0x0000'FFFF'0000'FFFF;
        const std::uint64_t halves = std::rotl(value, 32);
        return (halves & kLow) << 16 | (halves >> 16 & kLow);
    }
};

struct PdpFloat : Plain<std::uint32_t> {
    using Value = float;
    [[gnu::noinline]] static float read(unsigned char const* data) {
        return cvt::fromPdpFloat(std::rotl(Plain::read(data), 16));
    }
    static void write(unsigned char* data, float value) {
        Plain::write(data, std::rotl(cvt::toPdpFloat(value), 16));
    }
};

struct CapsDouble {
    using Value = double;
    static constexpr std::size_t kBytes = 6;
    static constexpr std::size_t kFirstBit = 0;
    static constexpr std::size_t kBits = 8 * kBytes;

    [[gnu::noinline]] static double read(unsigned char const* data) {
        std::uint64_t caps = 0;
        std::memcpy(&caps, data, kBytes);
        return cvt::fromPdpDouble(cvt::capsToPdpDouble(caps));
    }
    static void write(unsigned char* data, double value) {
        const std::uint64_t caps = cvt::pdpToCapsDouble(cvt::toPdpDouble(value));
        std::memcpy(data, &caps, kBytes);
    }
};

struct CapsFloat : Plain<std::uint32_t> {
    using Value = float;
    [[gnu::noinline]] static float read(unsigned char const* data) {
        return cvt::fromPdpFloat(cvt::capsToPdpFloat(Plain::read(data)));
    }
    static void write(unsigned char* data, float value) {
        Plain::write(data, cvt::pdpToCapsFloat(cvt::toPdpFloat(value)));
    }
};

}  // namespace wire
