#include "utilities/StringUtils.h"

#include <algorithm>
#include <cstring>

namespace StringUtils {

std::string ltrim(const std::string& text) {
    const std::size_t first = text.find_first_not_of(WHITESPACE);
    return first == std::string::npos ? std::string() : text.substr(first);
}

std::string rtrim(const std::string& text) {
    return text.substr(0, text.find_last_not_of(WHITESPACE) + 1);
}

std::string trim(const std::string& text) {
    return ltrim(rtrim(text));
}

void cstr_replace(char* text, const char* chars, char replacement) {
    for (text += std::strcspn(text, chars); *text != '\0'; text += std::strcspn(text, chars)) {
        *text++ = replacement;
    }
}

char* strncpy_prot(char* dst, const char* src, std::size_t size) {
    if (size > 0) {
        std::strncpy(dst, src, size);
        dst[size - 1] = '\0';
    }
    return dst;
}

void splitToChunks(const std::string& text, unsigned size, std::vector<std::string>& out) {
    const std::size_t step = std::max(size, 1U);
    for (std::size_t start = 0; start < text.size(); start += step) {
        out.push_back(text.substr(start, step));
    }
}

std::vector<std::string> splitToChunks(const std::string& text, unsigned size) {
    std::vector<std::string> chunks;
    splitToChunks(text, size, chunks);
    return chunks;
}

std::vector<std::string> split(const std::string& text, char delimiter) {
    std::vector<std::string> tokens;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(delimiter, start), text.size());
        tokens.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return tokens;
}

std::string join(const std::vector<std::string>& items, char delimiter) {
    std::string joined;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0) {
            joined += delimiter;
        }
        joined += items[i];
    }
    return joined;
}

}  // namespace StringUtils
