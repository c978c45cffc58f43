#pragma once

#include "HwVariant.hpp"

#include <string_view>
#include <vector>

struct Variants {
    std::vector<os::bsp::QorHwVariant> rows;
    unsigned malformedLine = 0; // counted from 1; 0 if every line is well-formed
};

/// Parses the text of a variant file: one row per line, 16 integers (decimal or 0x...); a # begins
/// a comment. Stops at the first malformed line.
Variants parseVariants(std::string_view text);
