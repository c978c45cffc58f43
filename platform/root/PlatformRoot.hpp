#pragma once

#include <cstdlib>
#include <string>
#include <string_view>

namespace platform {

/// The folder below which the unit's files are: the value of $QOR_PLATFORM_ROOT at the first call,
/// or "", the root folder.
inline const std::string& root() {
    static const char* const fromEnvironment = secure_getenv("QOR_PLATFORM_ROOT");
    // Never destroyed: other threads may use it until the process ends.
    static const auto& value = *new std::string(fromEnvironment != nullptr ? fromEnvironment : "");
    return value;
}

/// The path of a unit's file; `relative` has no leading slash.
inline std::string path(std::string_view relative) {
    return root() + "/" + std::string(relative);
}

} // namespace platform
