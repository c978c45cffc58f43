#include "bsp/BoardId.hpp"

#include "BoardIdLookup.hpp"
#include "HwVariant.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace {

using namespace os::bsp;

struct Board {
    int product;
    int revision;
    int boardId;
    const char* text;
    const char* latest;
};

constexpr const char* Unknown = "Unknown board revision";

constexpr Board Boards[] = {
    {1, 4, 65540, "TK5452_R2_P1", "TK5452_XPIC"},
    {1, 7, 65543, Unknown, "TK5452_XPIC"},
    {0, 0, 0, "TK5454_P1", "TK5454_P3"},
    {0, 2, 2, "TK5454_P3", "TK5454_P3"},
    {2, 0, 131072, "TK5451_REV_A", "TK5451_REV_A"},
    {3, 0, 196608, "RV5491_REV_A", "RV5491_REV_A"},
    {4, 6, 262150, "DQ5492_R2_P3", "DQ5492_R2_P3"},
    {5, 0, 327680, Unknown, Unknown},
    {18, 0, 1179648, Unknown, Unknown},
    {1, -1, -1, Unknown, "TK5452_XPIC"},
    {1, 0x10004, 65540, "TK5452_R2_P1", "TK5452_XPIC"},
};

TEST(BoardId, NamesFollowFromTheMap) {
    for (const Board& board : Boards) {
        const int boardId = makeBoardId(board.product, board.revision);
        EXPECT_EQ(boardId, board.boardId);
        EXPECT_STREQ(findBoardIdText(Bsp_boardIdMap, boardId), board.text);
        EXPECT_STREQ(findLatestBoardIdText(Bsp_boardIdMap, board.product), board.latest);
    }
}

TEST(BoardId, LatestIsTheGreatestIdNotTheLastRow) {
    constexpr Bsp_BoardIdRow Rows[] = {
        {1 << 16 | 2, "two"},
        {2 << 16 | 7, "other"},
        {1 << 16 | 5, "five"},
        {1 << 16 | 3, "three"}};
    EXPECT_STREQ(findLatestBoardIdText(Rows, 1), "five");
}

TEST(BoardId, MapIsExportedDataOfFixedShape) {
    EXPECT_EQ(sizeof Bsp_boardIdMap, 684u);
    for (const Bsp_BoardIdRow& row : Bsp_boardIdMap) {
        const auto* const end = std::begin(row.text) + std::strlen(row.text);
        EXPECT_TRUE(std::all_of(end, std::end(row.text), [](char c) { return c == 0; }));
        EXPECT_STREQ(findBoardIdText(Bsp_boardIdMap, row.boardId), row.text);
    }
    EXPECT_STREQ(Bsp_boardIdMap[6].text, "TK5452_XPIC");
    EXPECT_EQ(Bsp_boardIdMap[18].boardId, 4 << 16 | 6);
}

TEST(BoardId, QueriesOfTheUnitJoinProductAndRevision) {
    hwVariants[14].productCode = 4;
    hwVariants[14].hwRevision = 0xa0002; // shares bits with the product, 10
    EXPECT_EQ(Bsp_getBoardId(), 0xa0002);
    EXPECT_EQ(os::bsp::getBoardId(), 0xa0002);
    EXPECT_STREQ(Bsp_getBoardIdText(), Unknown);
    EXPECT_STREQ(Bsp_getLatestBoardIdText(), Unknown);
}

} // namespace
