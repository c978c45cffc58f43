#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace posix {

/// Converts a word that is a number as a whole: decimal with an optional minus sign, or hexadecimal
/// behind 0x, without a sign. Nothing for any other word, for example one with blanks, and for a
/// number that does not fit 32 bits with a sign.
inline std::optional<std::int32_t> parseNumber(std::string_view word) {
    const bool hexadecimal = word.starts_with("0x") || word.starts_with("0X");
    if (hexadecimal) {
        word.remove_prefix(2);
    }
    std::int32_t number = 0;
    const auto parsed = std::from_chars(word.begin(), word.end(), number, hexadecimal ? 16 : 10);
    const bool sign = hexadecimal && word.starts_with('-');
    const bool whole = !sign && parsed.ec == std::errc{} && parsed.ptr == word.end();
    return whole ? std::optional(number) : std::nullopt;
}

} // namespace posix
