/// Hardware-variant library: the table of all hardware variants of the platform.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace os::bsp {

/// A hardware code, eight words.
struct QorHwCode {
    std::array<std::int32_t, 8> words;
};

/// One row of the table, sixteen 32-bit words.
struct QorHwVariant {
    std::int32_t hwRevision;
    std::array<std::int32_t, 6> platformData;
    std::int32_t productCode;
    QorHwCode hwCode;
};

/// The table, complete before main. It is read from /etc/qor/hw_variants below the platform root.
/// If that file is missing, cannot be read or has a malformed line, it is the built-in table.
extern std::vector<QorHwVariant> hwVariants;

/// True if all eight words of the row's code equal those of `code`.
bool operator==(QorHwVariant const& variant, QorHwCode const& code);

} // namespace os::bsp
