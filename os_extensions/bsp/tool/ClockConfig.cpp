#include "ClockConfig.hpp"

#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>

namespace {

// Longer tokens are refused, because a file (a device, for example) may go on for ever without
// white space.
constexpr std::size_t LongestToken = 4096;

// Reads the next token: empty at the end of the file and after a read error, cut one character
// after the longest one that is accepted.
void readToken(std::FILE* file, ClockConfig& config) {
    config.column += config.token.size();
    config.token.clear();
    int character = std::getc(file);
    for (; std::isspace(character) != 0; character = std::getc(file)) {
        config.column = character == '\n' ? 1 : config.column + 1;
        config.line += character == '\n' ? 1 : 0;
    }
    while (character != EOF && std::isspace(character) == 0 &&
           config.token.size() <= LongestToken) {
        config.token += static_cast<char>(character);
        character = std::getc(file);
    }
    std::ungetc(character, file);
}

bool isHexadecimal(std::string_view digits) {
    return !digits.empty() &&
           digits.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

// Only the last two digits count, so a number that is wider than any integer type needs no special
// case.
std::optional<std::uint8_t> lowestByte(std::string_view token) {
    if (token.size() > LongestToken) {
        return std::nullopt;
    }
    const bool negative = token.starts_with('-');
    if (negative || token.starts_with('+')) {
        token.remove_prefix(1);
    }
    if (token.starts_with("0x") || token.starts_with("0X")) {
        token.remove_prefix(2);
    }
    if (!isHexadecimal(token)) {
        return std::nullopt;
    }
    token.remove_prefix(token.size() > 2 ? token.size() - 2 : 0);
    unsigned byte = 0;
    std::from_chars(token.begin(), token.end(), byte, 16);
    return static_cast<std::uint8_t>(negative ? 0 - byte : byte);
}

} // namespace

std::string readClockConfig(std::FILE* file, ClockConfig& config) {
    while (config.size < config.bytes.size()) {
        readToken(file, config);
        if (std::ferror(file) != 0) {
            const int error = errno;
            return "read error at token " + std::to_string(config.size + 1) + ": " +
                   std::strerror(error);
        }
        if (config.token.empty()) {
            break;
        }
        const auto byte = lowestByte(config.token);
        if (!byte) {
            return "token " + std::to_string(config.size + 1) + " is not a hexadecimal number";
        }
        config.bytes[config.size++] = *byte;
    }
    return {};
}
