/** The receiver's number formats. Pure functions but for what they write through a pointer; none
 *  fails. Any thread.
 *
 *  All four formats are (-1)^S * 0.1F * 2^(E - 128): a sign, an 8-bit exponent and a binary
 * fraction whose first 1 isn't stored. They differ in where the bits lie:
 *
 *    PDP double   4 words, from the top bit of word 0: S, E, 55 bits of F
 *    PDP float    2 words, likewise: S, E, 23 bits of F
 *    Caps double  6 bytes: E, then from the top bit of the last byte backwards: S, 39 bits of F
 *    Caps float   4 bytes, likewise: 23 bits of F
 */
#pragma once

#include <bit>
#include <cstdint>

/** The conversions on integers: a PDP number with word 0 on top, a Caps number with its first byte
 *  at the bottom, as it lies in memory. */
namespace cvt {

inline constexpr std::uint64_t kSign64 = std::uint64_t{1} << 63;
inline constexpr std::uint32_t kSign32 = std::uint32_t{1} << 31;

/** IEEE exponent fields that a PDP number can carry, and how far the two exponents lie apart. */
inline constexpr std::uint64_t kDoubleBias = 894;
inline constexpr std::uint64_t kMinDoubleExponent = 895;
inline constexpr std::uint64_t kMaxDoubleExponent = 1149;
inline constexpr std::uint32_t kFloatBias = 2;
inline constexpr std::uint32_t kMinFloatExponent = 2;
inline constexpr std::uint32_t kMaxFloatExponent = 253;

/** The last 3 bits of F are cut. Only all-zero bits are 0.0. */
constexpr double fromPdpDouble(std::uint64_t pdp) {
    if (pdp == 0) {
        return 0.0;
    }
    const std::uint64_t magnitude = (pdp & ~kSign64) >> 3;
    return std::bit_cast<double>((pdp & kSign64) | (magnitude + (kDoubleBias << 52)));
}

/** E below 3 is 0.0. */
constexpr float fromPdpFloat(std::uint32_t pdp) {
    const std::uint32_t magnitude = pdp & ~kSign32;
    if (magnitude >> 23 <= kFloatBias) {
        return 0.0F;
    }
    return std::bit_cast<float>((pdp & kSign32) | (magnitude - (kFloatBias << 23)));
}

/** Too small gives 0, too large (and NaN) the largest magnitude. */
constexpr std::uint64_t toPdpDouble(double value) {
    const auto ieee = std::bit_cast<std::uint64_t>(value);
    const std::uint64_t exponent = ieee >> 52 & 0x7FF;
    if (exponent < kMinDoubleExponent) {
        return 0;
    }
    if (exponent > kMaxDoubleExponent) {
        return ieee | ~kSign64;
    }
    return (ieee & kSign64) | (((ieee & ~kSign64) - (kDoubleBias << 52)) << 3);
}

constexpr std::uint32_t toPdpFloat(float value) {
    const auto ieee = std::bit_cast<std::uint32_t>(value);
    const std::uint32_t exponent = ieee >> 23 & 0xFF;
    if (exponent < kMinFloatExponent) {
        return 0;
    }
    if (exponent > kMaxFloatExponent) {
        return ieee | ~kSign32;
    }
    return ieee + (kFloatBias << 23);
}

/** Caps and PDP numbers have the same fields; these move them. F keeps its top bits. */
constexpr std::uint64_t capsToPdpDouble(std::uint64_t caps) {
    return (caps >> 47 & 1) << 63 | (caps & 0xFF) << 55 | (caps >> 8 & 0x7F'FFFF'FFFF) << 16;
}
constexpr std::uint64_t pdpToCapsDouble(std::uint64_t pdp) {
    return (pdp >> 63) << 47 | (pdp >> 55 & 0xFF) | (pdp >> 16 & 0x7F'FFFF'FFFF) << 8;
}
constexpr std::uint32_t capsToPdpFloat(std::uint32_t caps) {
    return (caps >> 31) << 31 | (caps & 0xFF) << 23 | (caps >> 8 & 0x7F'FFFF);
}
constexpr std::uint32_t pdpToCapsFloat(std::uint32_t pdp) {
    return (pdp >> 31) << 31 | (pdp >> 23 & 0xFF) | (pdp & 0x7F'FFFF) << 8;
}

/** A PDP double as whole and fraction, of the same sign; the fraction counts all 55 bits of F. */
struct WholeAndFraction {
    double whole;
    double fraction;
};
WholeAndFraction splitPdpDouble(std::uint64_t pdp);

}  // namespace cvt

/** To IEEE. Each takes a pointer to the first word. */
double CnvPdpD2PcD(unsigned short const* words);
float CnvPdpF2PcF(unsigned short const* words);
double CnvCapsD2PcD(unsigned short const* words);
float CnvCapsF2PcF(unsigned short const* words);

/** From IEEE. A number too small for the format gives all 0; one too large, an infinity and a NaN
 *  give the largest magnitude. What F can't hold is cut. */
void cnvpcd(double const* value, unsigned short* words);
void cnvpcs(float const* value, unsigned short* words);
void CnvPcD2CapsE(double const* value, unsigned short* words);
void CnvPcF2CapsF(float const* value, unsigned short* words);

/** Splits a PDP double: returns the fraction and stores the integer part, both with the sign of the
 *  number; a fraction of 0 has none. */
double PdpD_modf(unsigned short const* words, double* integerPart);

/** Numbers of 2 words (cnvts) and 4 words (cnvte) with a two's complement exponent, which no
 * message of this system carries; the second of each pair stores the number. */
float cnvts(unsigned short const* words);
void cnvtsn(unsigned short const* words, float* value);
double cnvte(unsigned short const* words);
void cnvten(unsigned short const* words, double* value);

/** Swaps the two bytes of the word in place and returns the new value. */
unsigned short u16swap(unsigned short* word);
/** `u16swap` on `count` words; nothing when `count` is 0 or less. */
void ByteSwap(unsigned short* words, int count);
/** Exchanges the 16-bit halves of the value in place and returns the new value. */
unsigned int lswap(unsigned int* value);
/** Exchanges the two words of four bytes in place. */
void MSW16_LSW16_swap(unsigned char* bytes);

/** Four BCD digits as a number; a digit above 9 counts as 0. */
unsigned short FromNBCD(unsigned short value);
/** A number of 0 to 9999 as BCD digits; anything above gives 0. */
unsigned short ToNBCD(unsigned short value);

/** Overwrites the memory three times, with read-back each time. 1 at the first difference, else 0.
 */
int flushZero(unsigned char* bytes, unsigned short length);

/** atan2(a, b) [rad]. */
double DirectionRadiansFromVelocity(double a, double b);
float DirectionRadiansFromVelocityF(float a, float b);

/** Whole seconds of `value` [s] and the rest [ns], which is negative for a negative value. Seconds
 *  that an int can't hold give its nearest, a NaN 0. */
void ToSecondsNanoseconds(int* seconds, double* nanoseconds, double value);
