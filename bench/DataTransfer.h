/** A set of saved messages on its way between server and receiver: a frame that starts it, the
 *  messages, a frame that ends it. */
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "bench/Bytes.h"

namespace bench {

inline constexpr std::array<std::uint8_t, 9> startOfTransfer{0xFF, 0x81, 0xEF, 0x13, 0x00,
                                                             0x09, 0x01, 0x2D, 0x0A};
inline constexpr std::array<std::uint8_t, 9> endOfTransfer{0xFF, 0x81, 0xF0, 0x13, 0x00,
                                                           0x09, 0x01, 0x1D, 0x0A};

/** Puts a transfer together. One thread at a time. */
class DataTransfer {
public:
    /** The messages between the two frames, once the end has come. A start in the middle begins
     *  anew; what comes outside of a transfer is passed over. */
    std::optional<std::vector<Bytes>> take(const Bytes& frame);

private:
    bool m_running = false;
    std::vector<Bytes> m_messages;
};

}  // namespace bench
