/// The unit's generation, and how its boards are connected.
///
/// Every function here maps a word of the unit's hardware code, and the word is a byte of the
/// unit's EEPROM. The first query of hardware in a process reads the EEPROM, once; later ones cost
/// a look into a table. A code that stands for nothing gives EndOfList and a level-1 message, at
/// every call; the message quotes that word of the platform's variant row, which is the unit's own
/// word only where the row matches the unit. May be called from any thread; one that calls during
/// the first query waits for it. Throws std::system_error when a lock cannot be taken for that.
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
