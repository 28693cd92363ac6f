/** Bytes of a stream, cut into lines. */
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace victory {

/** Cuts a stream into lines of a bounded length.
 *
 *  A line over the bound is reported once, without its bytes, and passed over to its end.
 */
class LineSplitter {
public:
    enum class Fault { NONE, TOO_LONG, CUT_OFF };

    struct Line {
        std::string text; /**< without its end; empty on a fault */
        Fault fault = Fault::NONE;
    };

    explicit LineSplitter(std::size_t maximumLine) : m_maximumLine(maximumLine) {}

    void append(std::string_view bytes);
    /** The stream has ended: what is left is a line cut off. */
    void end() { m_ended = true; }
    /** The next line; nothing as long as it hasn't come whole. */
    std::optional<Line> next();

private:
    Line take(std::size_t end);
    void drop();
    std::optional<Line> nextPartial();

    std::size_t m_maximumLine;
    std::string m_bytes;
    std::size_t m_taken = 0;     // bytes at the front that have been given out
    std::size_t m_searched = 0;  // bytes, those among them, known to hold no further line end
    bool m_skipping = false;     // the rest of a line that was too long
    bool m_ended = false;
};

}  // namespace victory
