/// The board's id and its printable name.
///
/// Every function here works out its answer at every call, from getProductId() and getHwRevision().
/// It may be called from any thread, and throws what getProductId() throws. For an unknown product
/// it logs the messages of getProductId(); for a board without a name it logs none.
#pragma once

#include "bsp/Bsp.h"
#include "bsp/Cpp20.hpp"

namespace os::bsp {

/// The name that a board without a name gets.
inline constexpr const char* UnknownBoardRevision = "Unknown board revision";

/// Product in the upper 16 bits, hardware revision in the lower 16 bits. A revision that does not
/// fit spills into the product's bits: the layer does not check the platform's table.
BSP_EXPORT int getBoardId();

/// The name that Bsp_boardIdMap has for getBoardId(), or UnknownBoardRevision. The text is constant
/// and lives as long as the process.
BSP_EXPORT const char* getBoardIdText();

/// The name of the highest revision that Bsp_boardIdMap lists for this unit's product, whatever
/// revision the unit itself has. UnknownBoardRevision if it lists none. The text is constant and
/// lives as long as the process.
BSP_EXPORT const char* getLatestBoardIdText();

} // namespace os::bsp
