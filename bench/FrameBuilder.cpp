#include "bench/FrameBuilder.h"

#include <cmath>

namespace bench {
namespace {

constexpr std::uint16_t syncWord = 0x81FF;
constexpr int exponentBias = 128;
constexpr int greatestExponent = 255;

void append(Bytes& bytes, unsigned word) {
    bytes.push_back(static_cast<std::uint8_t>(word));
    bytes.push_back(static_cast<std::uint8_t>(word >> 8));
}

/** A number as sign, exponent and fraction, side by side from the top of 1 + 8 + `fractionBits`
 *  bits: (-1)^sign x 0.1fraction x 2^(exponent - 128). */
std::uint64_t pack(double value, int fractionBits) {
    const std::uint64_t sign = std::signbit(value) ? std::uint64_t{1} << (fractionBits + 8) : 0;
    const std::uint64_t hiddenBit = std::uint64_t{1} << fractionBits;
    int exponent = 0;
    const double half = std::frexp(std::fabs(value), &exponent);
    auto mantissa = static_cast<std::uint64_t>(std::nearbyint(std::ldexp(half, fractionBits + 1)));
    if (mantissa == hiddenBit << 1) {  // rounded up to the next power of two
        mantissa = hiddenBit;
        ++exponent;
    }
    exponent += exponentBias;
    if (value == 0.0 || exponent < 1) {
        return 0;
    }
    if (exponent > greatestExponent) {
        return sign | ((hiddenBit << 8) - 1);
    }
    return sign | (static_cast<std::uint64_t>(exponent) << fractionBits) | (mantissa - hiddenBit);
}

}  // namespace

std::uint16_t checksum(std::span<const std::uint8_t> words) {
    unsigned sum = 0;
    for (std::size_t at = 0; at + 1 < words.size(); at += 2) {
        sum += words[at] + 256U * words[at + 1];
    }
    return static_cast<std::uint16_t>(0x10000 - sum % 0x10000);
}

FrameBuilder::FrameBuilder(std::uint16_t id, std::uint16_t flags, std::uint16_t words)
    : m_data(std::size_t{2} * words) {
    for (const unsigned word : {syncWord, id, words, flags}) {
        append(m_header, word);
    }
}

FrameBuilder& FrameBuilder::u8(std::size_t offset, unsigned value) {
    m_data.at(offset) = static_cast<std::uint8_t>(value);
    return *this;
}

FrameBuilder& FrameBuilder::u16(std::size_t offset, unsigned value) {
    return u8(offset, value).u8(offset + 1, value >> 8);
}

FrameBuilder& FrameBuilder::s16(std::size_t offset, int value) {
    return u16(offset, static_cast<unsigned>(value));
}

FrameBuilder& FrameBuilder::bits(std::size_t offset, unsigned first, unsigned count,
                                 unsigned value) {
    const unsigned mask = (1U << count) - 1;
    return u8(offset, m_data.at(offset) | ((value & mask) << first));
}

FrameBuilder& FrameBuilder::pdpDouble(std::size_t offset, double value) {
    const std::uint64_t packed = pack(value, 55);
    for (unsigned word = 0; word < 4; ++word) {
        u16(offset + 2 * word, static_cast<std::uint16_t>(packed >> (48 - 16 * word)));
    }
    return *this;
}

FrameBuilder& FrameBuilder::pdpFloat(std::size_t offset, double value) {
    const std::uint64_t packed = pack(value, 23);
    return u16(offset, static_cast<std::uint16_t>(packed >> 16))
        .u16(offset + 2, static_cast<std::uint16_t>(packed));
}

FrameBuilder& FrameBuilder::capsFloat(std::size_t offset, double value) {
    const std::uint64_t packed = pack(value, 23);
    u8(offset, static_cast<std::uint8_t>(packed >> 23));
    u16(offset + 1, static_cast<std::uint16_t>(packed));
    return u8(offset + 3, static_cast<unsigned>(((packed >> 24) & 0x80) | ((packed >> 16) & 0x7F)));
}

FrameBuilder& FrameBuilder::text(std::size_t offset, std::string_view value, std::size_t length) {
    for (std::size_t at = 0; at < length; ++at) {
        const auto character = at < value.size() ? static_cast<unsigned char>(value[at]) : 0U;
        u8(offset + (at ^ 1U), character);
    }
    return *this;
}

Bytes FrameBuilder::frame() const {
    Bytes frame = m_header;
    append(frame, checksum(m_header));
    if (!m_data.empty()) {
        frame.insert(frame.end(), m_data.begin(), m_data.end());
        append(frame, checksum(m_data));
    }
    return frame;
}

}  // namespace bench
