#include "bench/FrameReader.h"

#include <cmath>

#include "bench/FrameBuilder.h"

namespace bench {
namespace {

constexpr unsigned syncWord = 0x81FF;
constexpr std::size_t headerBytes = 10;

unsigned word(std::span<const std::uint8_t> bytes, std::size_t index) {
    return bytes[2 * index] + 256U * bytes[2 * index + 1];
}

/** Whether all words, a checksum among them, add up to 0. */
bool addsUp(std::span<const std::uint8_t> bytes) {
    return checksum(bytes) == 0;
}

}  // namespace

std::optional<FrameReader> FrameReader::read(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < headerBytes || word(bytes, 0) != syncWord ||
        !addsUp(bytes.first(headerBytes))) {
        return std::nullopt;
    }
    const std::size_t dataBytes = std::size_t{2} * word(bytes, 2);
    const auto rest = bytes.subspan(headerBytes);
    if (rest.size() != (dataBytes == 0 ? 0 : dataBytes + 2) || !addsUp(rest)) {
        return std::nullopt;
    }
    FrameReader reader;
    reader.m_id = word(bytes, 1);
    reader.m_data.assign(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(dataBytes));
    return reader;
}

double FrameReader::capsFloat(std::size_t offset) const {
    const unsigned exponent = u8(offset);
    const unsigned fraction = u16(offset + 1) | bits(offset + 3, 0, 7) << 16;
    if (exponent == 0 && fraction == 0) {
        return 0;
    }
    const double magnitude =
        std::ldexp(static_cast<double>(1U << 23 | fraction), static_cast<int>(exponent) - 128 - 24);
    return bits(offset + 3, 7, 1) != 0 ? -magnitude : magnitude;
}

}  // namespace bench
