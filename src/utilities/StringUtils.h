/** Small operations on texts. Pure functions but for the two that write where they are told to;
 *  safe from any thread.
 */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace StringUtils {

inline constexpr std::string_view WHITESPACE = " \n\r\t\f\v";

/** A copy without leading, trailing or any outer WHITESPACE. */
std::string ltrim(const std::string& text);
std::string rtrim(const std::string& text);
std::string trim(const std::string& text);

/** Overwrites each character of `text` that is one of `chars` by `replacement`, in place. */
void cstr_replace(char* text, const char* chars, char replacement);

/** Copies as strncpy does into the `size` bytes at `dst` and ends them with a NUL in any case.
 *  Returns `dst`. A `size` of 0 writes nothing.
 */
char* strncpy_prot(char* dst, const char* src, std::size_t size);

/** Appends contiguous pieces of `size` characters to `out`, the last possibly shorter. A `size` of
 *  0 counts as 1.
 */
void splitToChunks(const std::string& text, unsigned size, std::vector<std::string>& out);
std::vector<std::string> splitToChunks(const std::string& text, unsigned size);

/** The tokens between delimiters. An empty text has none, and a delimiter at the very end starts no
 *  further one.
 */
std::vector<std::string> split(const std::string& text, char delimiter);

/** The items with one delimiter between each two. */
std::string join(const std::vector<std::string>& items, char delimiter);

}  // namespace StringUtils
