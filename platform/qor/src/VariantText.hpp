#pragma once

#include "HwVariant.hpp"

#include <string_view>
#include <vector>

struct Variants {
    std::vector<os::bsp::QorHwVariant> rows;
    unsigned malformedLine = 0; // counted from 1; 0 when every line is well-formed
};

/// The rows of a variant file's text: one row a line, 16 integers (decimal or 0x...); a # begins a
/// remark. Ends at the first malformed line.
Variants parseVariants(std::string_view text);
