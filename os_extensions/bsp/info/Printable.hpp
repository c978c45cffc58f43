/// Text that is safe to print on a terminal.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

namespace bspinfo {

/// ASCII only: on a terminal that is not set to UTF-8, a byte of a multi-byte letter can be a
/// control character.
inline bool isPrintable(char byte) {
    return byte >= ' ' && byte <= '~';
}

/// The text with a question mark in place of each byte that is not printable.
inline std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return !isPrintable(byte); }, '?');
    return text;
}

/// The number with a leading 0x and at least `digits` digits.
inline std::string hexadecimal(std::uint32_t number, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%0*lx", digits, static_cast<unsigned long>(number));
    return text;
}

/// The bytes, two digits each, separated by spaces.
inline std::string hexadecimal(std::span<const std::byte> bytes) {
    std::string text;
    for (const std::byte byte : bytes) {
        text += text.empty() ? "" : " ";
        text += hexadecimal(std::to_integer<std::uint32_t>(byte), 2).substr(2);
    }
    return text;
}

} // namespace bspinfo
