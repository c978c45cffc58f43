/// The unit's generation, and how its boards are connected.
///
/// Every function here maps one word of the unit's hardware code, which is a byte of the unit's
/// EEPROM. The first query of hardware in a process reads the EEPROM; later ones only look up a
/// table. For a code that stands for nothing, every call returns EndOfList and logs a level-1
/// message. The message quotes the word of the platform's variant row, which is the unit's own word
/// only if the row matches the unit.
///
/// May be called from any thread; a call during the first query waits for it. Throws
/// std::system_error if it cannot take a lock for that.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

namespace os::bsp {

/// The unit's generation, from word 1: Qor4 or Qor5, never Pt.
BSP_EXPORT PlatformType getPlatformType();

/// What carries traffic between the boards, from word 3: Ptp or Ethernet, never None.
BSP_EXPORT TrafficBackplaneType getTrafficBackplane();

/// What carries control between the boards, from word 2: Pci, Pcie or Ethernet, never None.
BSP_EXPORT ControlBackplaneType getControlBackplane();

} // namespace os::bsp
