/// How many traffic channels and radio links the unit has.
///
/// Every function here may be called from any thread, works out its number at every call, and
/// throws what getProductId() throws.
#pragma once

#include "bsp/Cpp20.hpp"
#include "bsp/export.h"

#include <cstdint>

namespace os::bsp {

/// 1 or 2, by the unit's product (getProductId()). For an unknown product, or one without a count,
/// it returns 1 and logs a level-1 message, for which it calls getProductId() a second time.
BSP_EXPORT std::uint32_t getNumberOfChannels();

/// 1 or 2, by word 3 of the unit's hardware code: byte 3 of its EEPROM. For a code that stands for
/// no traffic FPGA, it returns 2 and logs a level-1 message.
BSP_EXPORT std::uint32_t getNumberOfRadiolinks();

} // namespace os::bsp
