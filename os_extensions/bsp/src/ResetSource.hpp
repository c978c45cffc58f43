/// Where the cause of the last restart comes from. Implemented in ResetType.cpp; bspinfo uses it,
/// too.
#pragma once

#include <optional>

namespace os::bsp {

enum class ResetSource { Register, Marker, None };

inline constexpr const char* ColdRestartMarker = "/tmp/restart_cold";

/// This unit's source. A unit without one counts every restart as a cold one.
ResetSource resetSource();

/// Empty if it cannot be read.
std::optional<unsigned int> readResetRegister();

bool isMarkedCold();

} // namespace os::bsp
