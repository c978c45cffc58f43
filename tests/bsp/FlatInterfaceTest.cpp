#include "Unit.hpp"
#include "bsp/BoardId.hpp"
#include "bsp/Components.hpp"
#include "bsp/Counts.hpp"
#include "bsp/FpgaPath.hpp"
#include "bsp/Platform.hpp"
#include "bsp/Product.hpp"
#include "bsp/RadiolinkMode.hpp"
#include "flat_in_c.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace test;
using namespace os::bsp;

TEST(FlatInterface, AnswersCAsTheNamespaceAnswersCpp) {
    unit::writeEeprom({50, 1, 2, 8, 0, 4, 0, 0});
    std::filesystem::create_directories(unit::Config);
    EXPECT_EQ(setModeInC(1), 0);
    EXPECT_EQ(setModeInC(2), -1);
    const FlatAnswers answers = askFlatInterface();
    const int numbers[FlatNumbers] = {
        static_cast<int>(getProductId()),
        static_cast<int>(getHwRevision()),
        getBoardId(),
        static_cast<int>(getPlatformType()),
        static_cast<int>(getTrafficBackplane()),
        static_cast<int>(getControlBackplane()),
        static_cast<int>(getDspType()),
        static_cast<int>(getTrafFpgaType()),
        static_cast<int>(getSwitchType()),
        static_cast<int>(getNumberOfChannels()),
        static_cast<int>(getNumberOfRadiolinks()),
        static_cast<int>(getRadiolinkMode()),
    };
    EXPECT_TRUE(std::equal(std::begin(numbers), std::end(numbers), answers.numbers));
    EXPECT_EQ(std::count(std::begin(numbers), std::end(numbers), 0), 2); // revision and switch
    EXPECT_EQ(answers.texts[0], getBoardIdText());
    EXPECT_EQ(answers.texts[1], getLatestBoardIdText());
    EXPECT_EQ(answers.texts[2], getFpgaPath("pell"));
    EXPECT_EQ(answers.variant, Bsp_getQorHwVariant());
    EXPECT_EQ(answers.boards, Bsp_boardIdMap);
}

} // namespace
