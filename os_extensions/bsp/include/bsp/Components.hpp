/// The main components fitted to the unit.
///
/// May be called from any thread. A code that stands for nothing gives EndOfList and a level-1
/// message. Throws std::system_error when the once-only reading of the hardware code fails.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

namespace os::bsp {

/// The modem chip, from the unit's hardware code.
BSP_EXPORT DspType getDspType();

/// The traffic FPGA, from the unit's hardware code and, for those codes that come in variants, from
/// the FPGA variant in the unit's configuration store, which is read at every call. A value that is
/// missing or not known selects the standard FPGA; what the store throws reaches the caller.
BSP_EXPORT TrafFpgaType getTrafFpgaType();

/// Always SwitchType::None.
BSP_EXPORT SwitchType getSwitchType();

} // namespace os::bsp
