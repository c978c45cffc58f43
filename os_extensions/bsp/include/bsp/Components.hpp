/// The main components fitted to the unit.
///
/// Every function here may be called from any thread.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

namespace os::bsp {

/// The modem chip, from word 5 of the unit's hardware code: byte 5 of its EEPROM. For a code that
/// stands for no chip, every call returns EndOfList and logs a level-1 message. The first query of
/// hardware in a process reads the EEPROM, and throws std::system_error if it cannot take a lock
/// for that.
BSP_EXPORT DspType getDspType();

/// The traffic FPGA, from word 3 of the unit's hardware code. For the codes 0, 3, 5 and 8 there are
/// two, and the FPGA variant in the unit's configuration store selects one. Every call reads it; a
/// missing or unknown value selects the standard one. For a code that stands for no FPGA, every
/// call returns EndOfList and logs a level-1 message.
///
/// Throws what getDspType() throws, and what the store throws: std::system_error if the value
/// exists and cannot be read.
BSP_EXPORT TrafFpgaType getTrafFpgaType();

/// The switch chip: always SwitchType::None, as no unit has one. Reads nothing, never throws.
BSP_EXPORT SwitchType getSwitchType();

} // namespace os::bsp
