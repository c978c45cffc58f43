#include "BoardIdLookup.hpp"

#include <cstdint>

namespace os::bsp {
namespace {

constexpr const char* UnknownBoardRevision = "Unknown board revision";

} // namespace

int makeBoardId(int product, int revision) {
    const auto upper = static_cast<std::uint32_t>(product) << 16;
    return static_cast<int>(upper | static_cast<std::uint32_t>(revision));
}

const char* findBoardIdText(BoardIdMap map, int boardId) {
    for (const Bsp_BoardIdRow& row : map) {
        if (row.boardId == boardId) {
            return row.text;
        }
    }
    return UnknownBoardRevision;
}

const char* findLatestBoardIdText(BoardIdMap map, int product) {
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
