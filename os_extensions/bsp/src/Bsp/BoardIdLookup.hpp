#pragma once

#include "bsp/Bsp.h"

#include <span>

namespace os::bsp {

using BoardIdMap = std::span<const Bsp_BoardIdRow>;

int makeBoardId(int product, int revision);

/// The text of the first row with this board id, or "Unknown board revision".
const char* findBoardIdText(BoardIdMap map, int boardId);

/// The text of the row with the greatest board id of this product, or "Unknown board revision".
const char* findLatestBoardIdText(BoardIdMap map, int product);

} // namespace os::bsp
