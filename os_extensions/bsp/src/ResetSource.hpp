/// What tells the cause of the last restart.
#pragma once

#include <optional>

namespace os::bsp {

enum class ResetSource { Register, Marker, None };

inline constexpr const char* ColdRestartMarker = "/tmp/restart_cold";

/// This unit's; a unit without any takes every restart for a cold one.
ResetSource resetSource();

/// Empty when it cannot be read.
std::optional<unsigned int> readResetRegister();

bool isMarkedCold();

} // namespace os::bsp
