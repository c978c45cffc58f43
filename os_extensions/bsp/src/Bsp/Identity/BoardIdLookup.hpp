#pragma once

#include "bsp/BoardId.hpp"

#include <cstdint>
#include <span>

namespace os::bsp {

using BoardIdMap = std::span<const Bsp_BoardIdRow>;

constexpr int makeBoardId(int product, int revision) {
    const auto upper = static_cast<std::uint32_t>(product) << 16;
    return static_cast<int>(upper | static_cast<std::uint32_t>(revision));
}

/// The text of the first row with this board id, or UnknownBoardRevision.
constexpr const char* findBoardIdText(BoardIdMap map, int boardId) {
    for (const Bsp_BoardIdRow& row : map) {
        if (row.boardId == boardId) {
            return row.text;
        }
    }
    return UnknownBoardRevision;
}

/// The text of the row with the greatest board id of this product, or UnknownBoardRevision.
constexpr const char* findLatestBoardIdText(BoardIdMap map, int product) {
    const char* text = UnknownBoardRevision;
    int best = -1;
    for (const Bsp_BoardIdRow& row : map) {
        if (row.boardId >> 16 == product && row.boardId > best) {
            best = row.boardId;
            text = row.text;
        }
    }
    return text;
}

} // namespace os::bsp
