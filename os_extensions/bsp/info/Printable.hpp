#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>

namespace bspinfo {

/// Whether a byte may go to a terminal as it is.
inline bool isPrintable(char byte) {
    return byte >= ' ' && byte <= '~';
}

/// The text with a question mark in the place of each byte that may not go to a terminal.
inline std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return !isPrintable(byte); }, '?');
    return text;
}

/// The bytes in two digits each, with blanks between.
inline std::string hexadecimal(std::span<const std::byte> bytes) {
    std::string text;
    for (const std::byte byte : bytes) {
        constexpr const char* Digits = "0123456789abcdef";
        const auto value = std::to_integer<unsigned>(byte);
        text += text.empty() ? "" : " ";
        text += {Digits[value / 16], Digits[value % 16]};
    }
    return text;
}

} // namespace bspinfo
