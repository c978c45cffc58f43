/// Which product the unit is, and which revision its board has.
///
/// Both come from the row of the platform's table that Bsp_getQorHwVariant() returns. Every
/// function here may be called from any thread. The first query of hardware in a process selects
/// the row, and calls during it wait. Throws std::system_error if it cannot take a lock for that.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

namespace os::bsp {

/// The unit's product, from the row's product code; never one of the products 0 to 4. For a code
/// that stands for no product, every call returns ProductId::EndOfList and logs a level-1 message.
BSP_EXPORT ProductId getProductId();

/// The revision of the unit's board, as the row has it: no range check, so it may be no value of
/// HwRevision.
BSP_EXPORT HwRevision getHwRevision();

} // namespace os::bsp
