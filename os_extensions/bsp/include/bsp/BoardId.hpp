/// The board's id and its printable name.
///
/// Every function here asks getProductId() and getHwRevision() anew, and gives what follows from
/// them. May be called from any thread. An unknown product gives the messages of getProductId(),
/// and an unnamed board none of its own; throws what getProductId() throws.
#pragma once

#include "bsp/Bsp.h"
#include "bsp/Cpp20.hpp"

namespace os::bsp {

/// What stands for the name of a board that has none.
inline constexpr const char* UnknownBoardRevision = "Unknown board revision";

/// Product in the upper 16 bits, hardware revision in the lower 16 bits. A revision that does not
/// fit spills into the product's bits: the platform's table is not questioned.
BSP_EXPORT int getBoardId();

/// The name that Bsp_boardIdMap has for getBoardId(), or UnknownBoardRevision. Constant text that
/// lives as long as the process.
BSP_EXPORT const char* getBoardIdText();

/// The name of the highest revision that Bsp_boardIdMap lists for this unit's product, whatever
/// revision the unit itself has; or UnknownBoardRevision. Constant text that lives as long as the
/// process.
BSP_EXPORT const char* getLatestBoardIdText();

} // namespace os::bsp
