#include "BoardIdLookup.hpp"
#include "bsp/Product.hpp"

static_assert(sizeof(Bsp_BoardIdRow) == 36);

// clang-format off
const Bsp_BoardIdRow Bsp_boardIdMap[Bsp_boardIdMapSize] = {
    {1 << 16 | 0, "TK5452_P2"},
    {1 << 16 | 1, "TK5452_P3"},
    {1 << 16 | 2, "TK5452_P4"},
    {1 << 16 | 3, "TK5452_P5"},
    {1 << 16 | 4, "TK5452_R2_P1"},
    {1 << 16 | 5, "TK5452_R2_P2"},
    {1 << 16 | 6, "TK5452_XPIC"},
    {0 << 16 | 0, "TK5454_P1"},
    {0 << 16 | 1, "TK5454_P2"},
    {0 << 16 | 2, "TK5454_P3"},
    {2 << 16 | 0, "TK5451_REV_A"},
    {3 << 16 | 0, "RV5491_REV_A"},
    {4 << 16 | 0, "DQ5492_P2"},
    {4 << 16 | 1, "DQ5492_P3"},
    {4 << 16 | 2, "DQ5492_P4"},
    {4 << 16 | 3, "DQ5492_P5"},
    {4 << 16 | 4, "DQ5492_R2_P1"},
    {4 << 16 | 5, "DQ5492_R2_P2"},
    {4 << 16 | 6, "DQ5492_R2_P3"},
};
// clang-format on

namespace os::bsp {

int getBoardId() {
    const auto product = getProductId();
    const auto revision = getHwRevision();
    return makeBoardId(static_cast<int>(product), static_cast<int>(revision));
}

const char* getBoardIdText() {
    return findBoardIdText(Bsp_boardIdMap, getBoardId());
}

const char* getLatestBoardIdText() {
    return findLatestBoardIdText(Bsp_boardIdMap, static_cast<int>(getProductId()));
}

} // namespace os::bsp
