/// The board's id and its printable name.
#pragma once

#include "bsp/Bsp.h"

namespace os::bsp {

/// Product in the upper 16 bits, hardware revision in the lower 16 bits. May be called from any
/// thread, like the others here; all throw what getProductId() throws.
BSP_EXPORT int getBoardId();

/// The name that Bsp_boardIdMap has for this board, or "Unknown board revision". Constant; lives as
/// long as the process.
BSP_EXPORT const char* getBoardIdText();

/// The name of the highest revision that Bsp_boardIdMap lists for this unit's product, or
/// "Unknown board revision". Constant; lives as long as the process.
BSP_EXPORT const char* getLatestBoardIdText();

} // namespace os::bsp
