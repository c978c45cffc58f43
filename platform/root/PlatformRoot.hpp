#pragma once

#include <cstdlib>
#include <string>
#include <string_view>

namespace platform {

/// Where the unit's files begin: $QOR_PLATFORM_ROOT as it stood at the first call, or "/".
inline const std::string& root() {
    static const char* const fromEnvironment = secure_getenv("QOR_PLATFORM_ROOT");
    // Never destroyed: other threads may need it to the very end of the process.
    static const auto& value = *new std::string(fromEnvironment != nullptr ? fromEnvironment : "");
    return value;
}

/// The absolute path of a unit's file; `relative` has no leading slash.
inline std::string path(std::string_view relative) {
    return root() + "/" + std::string(relative);
}

} // namespace platform
