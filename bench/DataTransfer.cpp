#include "bench/DataTransfer.h"

#include <algorithm>

namespace bench {

std::optional<std::vector<Bytes>> DataTransfer::take(const Bytes& frame) {
    if (std::ranges::equal(frame, startOfTransfer)) {
        m_running = true;
        m_messages.clear();
    } else if (m_running && std::ranges::equal(frame, endOfTransfer)) {
        m_running = false;
        return std::exchange(m_messages, {});
    } else if (m_running) {
        m_messages.push_back(frame);
    }
    return std::nullopt;
}

}  // namespace bench
