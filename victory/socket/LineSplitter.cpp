#include "victory/socket/LineSplitter.h"

#include <utility>

namespace victory {

std::optional<LineSplitter::Line> LineSplitter::next() {
    while (true) {
        const std::size_t end = m_bytes.find('\n', m_searched);
        if (end == std::string::npos) {
            return nextPartial();
        }
        Line line = take(end);
        if (!m_skipping) {
            return line;
        }
        m_skipping = false;
    }
}

LineSplitter::Line LineSplitter::take(std::size_t length) {
    Line line;
    if (length > m_maximumLine) {
        line.fault = Fault::TOO_LONG;
    } else {
        line.text = m_bytes.substr(0, length);
    }
    m_bytes.erase(0, length + 1);
    m_searched = 0;
    return line;
}

std::optional<LineSplitter::Line> LineSplitter::nextPartial() {
    m_searched = m_bytes.size();
    const bool tooLong = m_bytes.size() > m_maximumLine;
    const bool cutOff = m_ended && !m_bytes.empty();
    if (!m_skipping && !tooLong && !cutOff) {
        return std::nullopt;
    }
    m_bytes.clear();
    m_bytes.shrink_to_fit();
    m_searched = 0;
    if (std::exchange(m_skipping, true)) {
        return std::nullopt;
    }
    return Line{{}, tooLong ? Fault::TOO_LONG : Fault::CUT_OFF};
}

}  // namespace victory
