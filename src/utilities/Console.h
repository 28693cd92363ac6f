/** Console lines, each composed first and written whole in one call, so that lines of different
 *  threads never mix. They go through std::cout and std::cerr: the streams of C stdio belong to the
 *  VICTORY library once its service is up. Safe from any thread.
 */
#pragma once

#include <iosfwd>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace utilities {

/** `path` without its directory. */
constexpr std::string_view baseName(std::string_view path) {
    const std::size_t slash = path.find_last_of("/\\");
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

/** All parts in a row as a stream prints them: bool as 0 or 1, a char as itself. */
template <typename... Parts>
std::string concat(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return std::move(text).str();
}

/** Writes `text` to std::cout or std::cerr in one call, and flushes. */
void writeOut(std::string_view text);
void writeError(std::string_view text);

/** One line, its end added. */
template <typename... Parts>
void printLine(const Parts&... parts) {
    writeOut(concat(parts..., '\n'));
}
template <typename... Parts>
void printErrorLine(const Parts&... parts) {
    writeError(concat(parts..., '\n'));
}

}  // namespace utilities
