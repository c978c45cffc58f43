#pragma once

#include <span>
#include <string>
#include <string_view>

namespace bspctl {

/// What a unit keeps, and an operator may change.
struct Setting {
    const char* name;
    const char* values;      ///< as the usage shows them
    const char* expected;    ///< the values in words
    const char* description; ///< a line of the help
    /// Throws std::exception when the unit's own value cannot be read.
    std::string (*show)();
    /// False, and nothing done, when `value` is none that it can have. Throws std::exception when
    /// the unit does not keep it.
    bool (*set)(std::string_view value);
};

std::span<const Setting> settings();

} // namespace bspctl
