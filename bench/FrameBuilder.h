/** Builds the receiver's frames. Shares nothing with the code under test: its number formats and
 *  checksums are worked out here once more, from the definitions, so that each checks the other. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "bench/Bytes.h"

namespace bench {

/** One frame of words, least significant byte first: sync, id, count of data words, flags, header
 *  checksum, data, data checksum. Offsets are bytes of the data; one outside raises
 *  std::out_of_range. */
class FrameBuilder {
public:
    FrameBuilder(std::uint16_t id, std::uint16_t flags, std::uint16_t words);

    FrameBuilder& u8(std::size_t offset, unsigned value);
    FrameBuilder& u16(std::size_t offset, unsigned value);
    FrameBuilder& s16(std::size_t offset, int value);
    /** Sets `count` bits from bit `first` of the byte at `offset` on, which were 0. */
    FrameBuilder& bits(std::size_t offset, unsigned first, unsigned count, unsigned value);
    /** Three of the receiver's number formats, in 8, 4 and 4 bytes. A number nearer to 0 than the
     *  format holds becomes 0, one beyond its range the farthest of its sign. */
    FrameBuilder& pdpDouble(std::size_t offset, double value);
    FrameBuilder& pdpFloat(std::size_t offset, double value);
    FrameBuilder& capsFloat(std::size_t offset, double value);
    /** `length` characters, filled up with zeros, in words with the first character high. */
    FrameBuilder& text(std::size_t offset, std::string_view value, std::size_t length);

    /** The whole frame with its checksums. */
    Bytes frame() const;

private:
    Bytes m_header;
    Bytes m_data;
};

/** The word that brings the sum of `words` to 0. */
std::uint16_t checksum(std::span<const std::uint8_t> words);

}  // namespace bench
