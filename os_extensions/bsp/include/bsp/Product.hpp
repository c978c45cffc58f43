/// Which product the unit is, and which revision its board has.
///
/// Both come from the row of the platform's table that Bsp_getQorHwVariant() gives. Every function
/// here may be called from any thread. The first query of hardware in a process selects the row,
/// and the others wait for it; throws std::system_error when a lock cannot be taken for that.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

namespace os::bsp {

/// The unit's product, from the row's product code. A code that stands for none gives
/// ProductId::EndOfList and a level-1 message, at every call. Never one of the products 0 to 4.
BSP_EXPORT ProductId getProductId();

/// The revision of the unit's board, as it is in the row: nothing tests its range, and it may be no
/// value of HwRevision.
BSP_EXPORT HwRevision getHwRevision();

} // namespace os::bsp
