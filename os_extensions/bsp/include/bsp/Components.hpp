/// The main components fitted to the unit.
///
/// Every function here may be called from any thread.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

namespace os::bsp {

/// The modem chip, from word 5 of the unit's hardware code: byte 5 of its EEPROM. A code that
/// stands for no chip gives EndOfList and a level-1 message, at every call. The first query of
/// hardware in a process reads the EEPROM; throws std::system_error when a lock cannot be taken for
/// that.
BSP_EXPORT DspType getDspType();

/// The traffic FPGA, from word 3 of the unit's hardware code. For the codes 0, 3, 5 and 8 there are
/// two, and the FPGA variant in the unit's configuration store tells which. It is read at every
/// call; a value that is missing or not known selects the standard one. A code that stands for no
/// FPGA gives EndOfList and a level-1 message, at every call. Throws what getDspType() throws, and
/// what the store throws: std::system_error when the value is there and cannot be read.
BSP_EXPORT TrafFpgaType getTrafFpgaType();

/// The switch chip: always SwitchType::None, as no unit has one. Reads nothing, never throws.
BSP_EXPORT SwitchType getSwitchType();

} // namespace os::bsp
