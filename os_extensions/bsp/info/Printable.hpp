#pragma once

#include <algorithm>
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

} // namespace bspinfo
