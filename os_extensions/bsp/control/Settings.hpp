#pragma once

#include <span>
#include <string>
#include <string_view>

namespace bspctl {

/// A setting that the unit stores and an operator may change.
struct Setting {
    const char* name;
    const char* values;      ///< in the usage
    const char* expected;    ///< the values in words
    const char* description; ///< a line of the help
    /// Throws std::exception if the unit's own value cannot be read.
    std::string (*show)();
    /// False, with nothing done, if `value` is not a possible value. Throws std::exception if the
    /// unit does not store it.
    bool (*set)(std::string_view value);
};

std::span<const Setting> settings();

} // namespace bspctl
