#include "receiver/cvt.h"

#include <cmath>
#include <utility>

#include "receiver/WireFormats.h"
#include "utilities/round.h"

namespace {

unsigned char const* bytesOf(unsigned short const* words) {
    return reinterpret_cast<unsigned char const*>(words);
}

unsigned char* bytesOf(unsigned short* words) {
    return reinterpret_cast<unsigned char*>(words);
}

/** A number whose sign and fraction together are a two's complement: 1.F times 2^E with the sign
 *  clear, -(2 - 0.F) times 2^E with it set. The last word holds E, the sign and the top 7 bits of
 *  F; `lowFraction` the other `lowBits`. */
double fromTwosComplement(unsigned short lastWord, unsigned lowFraction, int lowBits) {
    const int exponent = static_cast<std::int16_t>(lastWord) >> 8;
    if (exponent == -128) {
        return 0.0;
    }
    const double fraction = std::ldexp(lastWord & 0x7F, -7) + std::ldexp(lowFraction, -7 - lowBits);
    const bool negative = (lastWord & 0x80U) != 0;
    return std::ldexp(negative ? fraction - 2.0 : fraction + 1.0, exponent);
}

}  // namespace

cvt::WholeAndFraction cvt::splitPdpDouble(std::uint64_t pdp) {
    constexpr int kFractionBits = 55;
    const auto exponent = static_cast<int>(pdp >> kFractionBits & 0xFF);
    const int fractionBits = kFractionBits + 1 - (exponent - 128);
    if (exponent <= 128) {
        return {0.0, fromPdpDouble(pdp)};
    }
    if (fractionBits <= 0) {
        return {fromPdpDouble(pdp), 0.0};
    }
    const std::uint64_t rest = pdp & ((std::uint64_t{1} << fractionBits) - 1);
    const double whole = fromPdpDouble(pdp - rest);
    if (rest == 0) {
        return {whole, 0.0};
    }
    // The top bit of `left` is worth 1/2, which is the IEEE exponent field 1022.
    const std::uint64_t left = rest << (64 - fractionBits);
    const int zeros = std::countl_zero(left);
    const std::uint64_t mantissa = left << zeros << 1 >> 12;
    const auto field = static_cast<std::uint64_t>(1022 - zeros);
    return {whole, std::bit_cast<double>((pdp & kSign64) | field << 52 | mantissa)};
}

double CnvPdpD2PcD(unsigned short const* words) {
    return wire::PdpDouble::read(bytesOf(words));
}

float CnvPdpF2PcF(unsigned short const* words) {
    return wire::PdpFloat::read(bytesOf(words));
}

double CnvCapsD2PcD(unsigned short const* words) {
    return wire::CapsDouble::read(bytesOf(words));
}

float CnvCapsF2PcF(unsigned short const* words) {
    return wire::CapsFloat::read(bytesOf(words));
}

void cnvpcd(double const* value, unsigned short* words) {
    wire::PdpDouble::write(bytesOf(words), *value);
}

void cnvpcs(float const* value, unsigned short* words) {
    wire::PdpFloat::write(bytesOf(words), *value);
}

void CnvPcD2CapsE(double const* value, unsigned short* words) {
    wire::CapsDouble::write(bytesOf(words), *value);
}

void CnvPcF2CapsF(float const* value, unsigned short* words) {
    wire::CapsFloat::write(bytesOf(words), *value);
}

double PdpD_modf(unsigned short const* words, double* integerPart) {
    const auto [whole, fraction] = cvt::splitPdpDouble(wire::PdpDouble::bits(bytesOf(words)));
    *integerPart = whole;
    return fraction;
}

float cnvts(unsigned short const* words) {
    return static_cast<float>(fromTwosComplement(words[1], words[0], 16));
}

void cnvtsn(unsigned short const* words, float* value) {
    *value = cnvts(words);
}

double cnvte(unsigned short const* words) {
    return fromTwosComplement(words[3], (words[1] & 0xFFU) << 16 | words[0], 24);
}

void cnvten(unsigned short const* words, double* value) {
    *value = cnvte(words);
}

unsigned short u16swap(unsigned short* word) {
    *word = static_cast<unsigned short>(*word << 8 | *word >> 8);
    return *word;
}

void ByteSwap(unsigned short* words, int count) {
    for (int i = 0; i < count; ++i) {
        u16swap(&words[i]);
    }
}

unsigned int lswap(unsigned int* value) {
    *value = *value << 16 | *value >> 16;
    return *value;
}

void MSW16_LSW16_swap(unsigned char* bytes) {
    std::swap(bytes[0], bytes[2]);
    std::swap(bytes[1], bytes[3]);
}

unsigned short FromNBCD(unsigned short value) {
    unsigned number = 0;
    for (int shift = 12; shift >= 0; shift -= 4) {
        const unsigned digit = value >> shift & 0xFU;
        number = number * 10 + (digit > 9 ? 0 : digit);
    }
    return static_cast<unsigned short>(number);
}

unsigned short ToNBCD(unsigned short value) {
    if (value > 9999) {
        return 0;
    }
    return static_cast<unsigned short>(value / 1000 << 12 | value / 100 % 10 << 8 |
                                       value / 10 % 10 << 4 | value % 10);
}

int flushZero(unsigned char* bytes, unsigned short length) {
    // volatile: the compiler must neither drop a pass nor assume what it reads back.
    volatile unsigned char* memory = bytes;
    for (const unsigned pattern : {0x55U, 0xAAU, 0x55U}) {
        for (unsigned i = 0; i < length; ++i) {
            memory[i] = static_cast<unsigned char>(pattern);
        }
        for (unsigned i = 0; i < length; ++i) {
            if (memory[i] != pattern) {
                return 1;
            }
        }
    }
    return 0;
}

double DirectionRadiansFromVelocity(double a, double b) {
    return std::atan2(a, b);
}

float DirectionRadiansFromVelocityF(float a, float b) {
    return std::atan2(a, b);
}

void ToSecondsNanoseconds(int* seconds, double* nanoseconds, double value) {
    double whole = 0.0;
    *nanoseconds = std::modf(value, &whole) * 1000000000.0;
    *seconds = utilities::cutTo<int>(whole);
}
