#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

/// The bytes for the clock chip's registers: at most 216.
struct ClockConfig {
    std::array<std::uint8_t, 216> bytes{};
    std::size_t size = 0;

    // The token that was read last, and its position, counted from 1.
    std::string token;
    std::size_t line = 1;
    std::size_t column = 1;
};

/// Reads hexadecimal numbers separated by white space, until the end of the file or 216 numbers. A
/// number has up to 4,096 characters, and may have a sign and 0x; its lowest 8 bits become a byte.
/// Returns an empty text, or what is wrong: the number (from 1) of the token that is not
/// hexadecimal, or a read error. `config` is then incomplete.
std::string readClockConfig(std::FILE* file, ClockConfig& config);
