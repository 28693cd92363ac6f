#include "victory/socket/LineSplitter.h"

#include <utility>

namespace victory {

// Only here, not for each line: what moves to the front is the begin of one line at most.
void LineSplitter::append(std::string_view bytes) {
    m_bytes.erase(0, m_taken);
    m_searched -= m_taken;
    m_taken = 0;
    m_bytes.append(bytes);
}

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

LineSplitter::Line LineSplitter::take(std::size_t end) {
    const std::size_t length = end - m_taken;
    Line line;
    if (length > m_maximumLine) {
        line.fault = Fault::TOO_LONG;
    } else {
        line.text = m_bytes.substr(m_taken, length);
    }
    m_taken = end + 1;
    m_searched = m_taken;
    return line;
}

std::optional<LineSplitter::Line> LineSplitter::nextPartial() {
    m_searched = m_bytes.size();
    const std::size_t left = m_bytes.size() - m_taken;
    const bool tooLong = left > m_maximumLine;
    const bool cutOff = m_ended && left != 0;
    if (!m_skipping && !tooLong && !cutOff) {
        return std::nullopt;
    }
    drop();
    if (std::exchange(m_skipping, true)) {
        return std::nullopt;
    }
    return Line{{}, tooLong ? Fault::TOO_LONG : Fault::CUT_OFF};
}

void LineSplitter::drop() {
    m_bytes.clear();
    m_bytes.shrink_to_fit();
    m_taken = 0;
    m_searched = 0;
}

}  // namespace victory
