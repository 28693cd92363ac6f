/** Bytes as hexadecimal text, and back. */
#pragma once

#include <string>
#include <string_view>

inline std::string toHex(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    return text;
}

inline std::string fromHex(std::string_view text) {
    std::string bytes;
    for (; text.size() >= 2; text.remove_prefix(2)) {
        bytes += static_cast<char>(std::stoi(std::string(text.substr(0, 2)), nullptr, 16));
    }
    return bytes;
}
