#include "HwVariant.hpp"
#include "Identity/BoardIdLookup.hpp"
#include "Process.hpp"
#include "QorConfig.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"
#include "bsp/BoardId.hpp"
#include "bsp/Components.hpp"
#include "bsp/Counts.hpp"
#include "bsp/Platform.hpp"
#include "bsp/Product.hpp"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace test;
using os::bsp::hwVariants;

// What a query maps: a word of the hardware code, or the product code of the variant's row.
enum Input { ProductCode, Platform, ControlBackplane, Traffic, Dsp = 5 };

// What the message about an unknown one quotes: that word of the variant's row, the unit's own
// input, or the product id of an unknown product.
enum class Quoted { VariantRow, Own, NoProduct };

struct Query {
    const char* name;
    Input input;
    int (*flat)();
    int (*inNamespace)();
    std::map<int, int> answers;
    const char* message;
    int unknown;
    Quoted quoted = Quoted::VariantRow;
    std::string_view fpgaVariant = {};
};

template <auto Function>
int asInt() {
    return static_cast<int>(Function());
}

constexpr auto* Fpga = asInt<os::bsp::getTrafFpgaType>;
constexpr const char* NoFpga = "Not supported traffic FPGA: ";

// clang-format off
const Query Queries[] = {
    {"getPlatformType", Platform, Bsp_getPlatformType, asInt<os::bsp::getPlatformType>,
     {{0, 1}, {1, 2}}, "Unknown platformType: ", 3},
    {"getTrafficBackplane", Traffic, Bsp_getTrafficBackplane, asInt<os::bsp::getTrafficBackplane>,
     {{0, 1}, {3, 2}, {4, 2}, {5, 2}, {6, 2}, {7, 2}, {8, 2}}, "Unknown backplaneType: ", 3},
    {"getControlBackplane", ControlBackplane, Bsp_getControlBackplane, asInt<os::bsp::getControlBackplane>,
     {{0, 1}, {1, 2}, {2, 3}}, "Unknown backplaneType: ", 4},
    {"getDspType", Dsp, Bsp_getDspType, asInt<os::bsp::getDspType>,
     {{0, 4}, {2, 5}, {4, 6}}, "Unknown dspType: ", 7},
    {"getTrafFpgaType", Traffic, Bsp_getTrafFpgaType, Fpga,
     {{0, 6}, {3, 12}, {4, 14}, {5, 15}, {6, 17}, {7, 18}, {8, 19}}, NoFpga, 23},
    {"getTrafFpgaType", Traffic, Bsp_getTrafFpgaType, Fpga,
     {{0, 7}, {3, 12}, {4, 14}, {5, 16}, {6, 17}, {7, 18}, {8, 20}}, NoFpga, 23,
     Quoted::VariantRow, os::bsp::value::fpgaVariant::TwoTdm},
    {"getTrafFpgaType", Traffic, Bsp_getTrafFpgaType, Fpga,
     {{0, 6}, {3, 13}, {4, 14}, {5, 15}, {6, 17}, {7, 18}, {8, 19}}, NoFpga, 23,
     Quoted::VariantRow, os::bsp::value::fpgaVariant::OneTdmRleEqpNoMlhc},
    {"getNumberOfRadiolinks", Traffic, asInt<Bsp_getNumberOfRlt>, asInt<os::bsp::getNumberOfRadiolinks>,
     {{0, 2}, {3, 2}, {4, 1}, {5, 2}, {6, 1}, {7, 1}, {8, 2}}, "Unknown traf type: ", 2, Quoted::Own},
    {"getProductId", ProductCode, Bsp_getProductId, asInt<os::bsp::getProductId>,
     {{1, 5}, {2, 6}, {3, 7}, {4, 10}, {5, 11}, {6, 13}, {7, 8}, {9, 12}, {10, 9}, {11, 14}, {12, 15},
      {13, 16}, {14, 17}}, "Unknown product ID: ", 18, Quoted::Own},
    {"getNumberOfChannels", ProductCode, asInt<Bsp_getNumberOfChannels>, asInt<os::bsp::getNumberOfChannels>,
     {{1, 2}, {2, 1}, {3, 2}, {4, 2}, {5, 2}, {6, 2}, {7, 1}, {9, 1}, {10, 2}, {11, 2}, {12, 1},
      {13, 2}, {14, 1}}, "Unknown product id: ", 1, Quoted::NoProduct},
};
// clang-format on

// The variant row, the first one, has 77 in every word: it tells which word a message quotes.
void setInput(const Query& query, int code) {
    if (query.input == ProductCode) {
        hwVariants[14].productCode = code;
        return;
    }
    hwVariants.front().hwCode.words.fill(77);
    if (code < 0) { // only the default code can be negative, and its row matches
        hwVariants[14].hwCode.words.fill(code);
        return;
    }
    unit::Code bytes = {99, 99, 99, 99, 99, 99, 99, 99};
    bytes[query.input] = static_cast<unsigned char>(code);
    unit::writeEeprom(bytes);
}

void expectAnswer(const Query& query, int code) {
    SCOPED_TRACE(std::string(query.name) + " " + std::to_string(code));
    const bool known = query.answers.contains(code);
    const int expected = known ? query.answers.at(code) : query.unknown;
    std::filesystem::remove(unit::Eeprom);
    const auto outcome = inChild([&] {
        setInput(query, code);
        TolvTrace_setLevel("bsp.core", 1);
        EXPECT_EQ(query.inNamespace(), expected);
        TolvTrace_setLevel("bsp.core", 0);
        EXPECT_EQ(query.flat(), expected);
    });
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    const bool own = code < 0 || query.quoted == Quoted::Own;
    const int quoted = query.quoted == Quoted::NoProduct ? 18 : own ? code : 77;
    const auto message =
        std::string(": ") + query.name + "(): " + query.message + std::to_string(quoted);
    EXPECT_EQ(countLines(outcome.err, message), known ? 0 : 1) << outcome.err;
}

TEST(Identity, QueriesMapWhatTheUnitSays) {
    for (const Query& query : Queries) {
        unit::writeFile(unit::Config / os::bsp::key::FpgaVariant, query.fpgaVariant);
        for (const int code :
             {-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 255, INT32_MIN}) {
            expectAnswer(query, code);
        }
    }
}

TEST(Identity, EntriesAndResultsAreTraced) {
    TolvTrace_setLevel("bsp.core", 7);
    testing::internal::CaptureStderr();
    Bsp_getDspType(); // the EEPROM cannot be read
    EXPECT_EQ(Bsp_getSwitchType(), 0);
    Bsp_getNumberOfRlt();
    EXPECT_EQ(Bsp_getNumberOfChannels(), 1U);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_LT(log.find("ENTER getDspType()"), log.find("e2prom_data_read"));
    for (const char* name :
         {"getSwitchType()", "getNumberOfRadiolinks()", "getNumberOfChannels()"}) {
        EXPECT_EQ(countLines(log, std::string(": ENTER ") + name), 1) << log;
    }
    EXPECT_EQ(countLines(log, "getNumberOfChannels(): numberOfChannels = 1"), 1);
}

struct Board {
    int product;
    int revision;
    const char* text;
    const char* latest;
};

TEST(Identity, BoardNamesFollowFromTheMap) {
    constexpr const char* Unknown = "Unknown board revision";
    constexpr Board Boards[] = {
        {1, 4, "TK5452_R2_P1", "TK5452_XPIC"},  {1, 7, Unknown, "TK5452_XPIC"},
        {0, 2, "TK5454_P3", "TK5454_P3"},       {2, 0, "TK5451_REV_A", "TK5451_REV_A"},
        {4, 6, "DQ5492_R2_P3", "DQ5492_R2_P3"}, {5, 0, Unknown, Unknown},
        {1, -1, Unknown, "TK5452_XPIC"},        {1, 0x10004, "TK5452_R2_P1", "TK5452_XPIC"},
    };
    for (const Board& board : Boards) {
        const int boardId = os::bsp::makeBoardId(board.product, board.revision);
        EXPECT_STREQ(os::bsp::findBoardIdText(Bsp_boardIdMap, boardId), board.text);
        EXPECT_STREQ(os::bsp::findLatestBoardIdText(Bsp_boardIdMap, board.product), board.latest);
    }
    constexpr Bsp_BoardIdRow Unsorted[] = {{1 << 16 | 5, "five"}, {1 << 16 | 3, "three"}};
    EXPECT_STREQ(os::bsp::findLatestBoardIdText(Unsorted, 1), "five");
    hwVariants[14].hwRevision = 0xa0002; // shares bits with the product, 15
    EXPECT_EQ(Bsp_getHwRevision(), 0xa0002);
    EXPECT_EQ(Bsp_getBoardId(), 0xf0002);
    EXPECT_STREQ(Bsp_getBoardIdText(), Unknown);
    EXPECT_STREQ(Bsp_getLatestBoardIdText(), Unknown);
}

} // namespace
