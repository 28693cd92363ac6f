/** Reads the server's frames. Shares nothing with the code under test, as FrameBuilder. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "bench/Bytes.h"

namespace bench {

/** A frame that is whole: sync, word count and both checksums are right. Offsets are bytes of the
 *  data; one outside raises std::out_of_range. */
class FrameReader {
public:
    /** Empty when the bytes are no such frame. */
    static std::optional<FrameReader> read(std::span<const std::uint8_t> bytes);

    unsigned id() const { return m_id; }
    std::size_t words() const { return m_data.size() / 2; }
    unsigned u8(std::size_t offset) const { return m_data.at(offset); }
    unsigned u16(std::size_t offset) const { return u8(offset) | u8(offset + 1) << 8; }
    /** `count` bits from bit `first` of the byte at `offset` on. */
    unsigned bits(std::size_t offset, unsigned first, unsigned count) const {
        return u8(offset) >> first & ((1U << count) - 1);
    }
    double capsFloat(std::size_t offset) const;

private:
    unsigned m_id = 0;
    Bytes m_data;
};

}  // namespace bench
