#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

/// What goes to the clock chip's registers: at most 216 bytes.
struct ClockConfig {
    std::array<std::uint8_t, 216> bytes{};
    std::size_t size = 0;

    // The token that was read last, and where it begins, from 1.
    std::string token;
    std::size_t line = 1;
    std::size_t column = 1;
};

/// Reads hexadecimal numbers separated by white space, of any width up to 4,096 characters and with
/// an optional sign and 0x, until the end of the file or 216 numbers; the lowest 8 bits of each
/// become a byte. Returns an empty text, or what is wrong: the position (from 1) of a token that is
/// no such number, or a read error; `config` is of no use then.
std::string readClockConfig(std::FILE* file, ClockConfig& config);
