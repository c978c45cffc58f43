/// The unit's generation, and how its boards are connected.
///
/// Each query maps the unit's hardware code anew; the first one of any in a process reads the
/// EEPROM. A code that stands for nothing gives EndOfList and a level-1 message. May be called from
/// any thread. Throws std::system_error when the once-only initialisation fails.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

namespace os::bsp {

BSP_EXPORT PlatformType getPlatformType();
BSP_EXPORT TrafficBackplaneType getTrafficBackplane();
BSP_EXPORT ControlBackplaneType getControlBackplane();

} // namespace os::bsp
