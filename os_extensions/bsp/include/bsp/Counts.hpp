/// How many traffic channels and radio links the unit has.
///
/// Every function here may be called from any thread, works its number out anew, and throws what
/// getProductId() throws.
#pragma once

#include "bsp/Cpp20.hpp"
#include "bsp/export.h"

#include <cstdint>

namespace os::bsp {

/// 1 or 2, by the unit's product (getProductId()). A product without a count, and an unknown one,
/// gives 1 and a level-1 message, for which the product is asked for a second time.
BSP_EXPORT std::uint32_t getNumberOfChannels();

/// 1 or 2, by word 3 of the unit's hardware code: byte 3 of its EEPROM. A code that stands for no
/// traffic FPGA gives 2 and a level-1 message.
BSP_EXPORT std::uint32_t getNumberOfRadiolinks();

} // namespace os::bsp
