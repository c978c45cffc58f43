#include "HwVariant.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"
#include "bsp/Bsp.h"
#include "bsp/Components.hpp"
#include "bsp/Counts.hpp"
#include "bsp/Platform.hpp"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace test;
using os::bsp::hwVariants;

enum class Quoted { VariantRow, UnitsOwn };

// One query of a word of the hardware code: every code that has a meaning, and all others' answer.
struct Query {
    const char* name;
    std::size_t word;
    int (*flat)();
    int (*inNamespace)();
    std::map<int, int> answers;
    const char* message;
    int unknown;
    Quoted quoted = Quoted::VariantRow;
};

template <auto Function>
int asInt() {
    return static_cast<int>(Function());
}

// clang-format off
const Query Queries[] = {
    {"getPlatformType", 1, Bsp_getPlatformType, asInt<os::bsp::getPlatformType>,
     {{0, 1}, {1, 2}}, "Unknown platformType: ", 3},
    {"getTrafficBackplane", 3, Bsp_getTrafficBackplane, asInt<os::bsp::getTrafficBackplane>,
     {{0, 1}, {3, 2}, {4, 2}, {5, 2}, {6, 2}, {7, 2}, {8, 2}}, "Unknown backplaneType: ", 3},
    {"getControlBackplane", 2, Bsp_getControlBackplane, asInt<os::bsp::getControlBackplane>,
     {{0, 1}, {1, 2}, {2, 3}}, "Unknown backplaneType: ", 4},
    {"getDspType", 5, Bsp_getDspType, asInt<os::bsp::getDspType>,
     {{0, 4}, {2, 5}, {4, 6}}, "Unknown dspType: ", 7},
    {"getTrafFpgaType", 3, Bsp_getTrafFpgaType, asInt<os::bsp::getTrafFpgaType>,
     {{0, 6}, {3, 12}, {4, 14}, {5, 15}, {6, 17}, {7, 18}, {8, 19}},
     "Not supported traffic FPGA: ", 23},
    {"getNumberOfRadiolinks", 3, asInt<Bsp_getNumberOfRlt>, asInt<os::bsp::getNumberOfRadiolinks>,
     {{0, 2}, {3, 2}, {4, 1}, {5, 2}, {6, 1}, {7, 1}, {8, 2}}, "Unknown traf type: ", 2,
     Quoted::UnitsOwn},
};
// clang-format on

// The variant row, the first one, has 77 in every word: it tells which word a message quotes.
void setCode(const Query& query, int code) {
    hwVariants.front().hwCode.words.fill(77);
    if (code < 0) { // only the default code can be negative, and its row matches
        hwVariants[14].hwCode.words.fill(code);
        return;
    }
    unit::Code bytes = {99, 99, 99, 99, 99, 99, 99, 99};
    bytes[query.word] = static_cast<unsigned char>(code);
    unit::writeEeprom(bytes);
}

void expectAnswers(const Query& query, int code) {
    SCOPED_TRACE(std::string(query.name) + " " + std::to_string(code));
    std::filesystem::remove(unit::Eeprom);
    const auto outcome = inChild([&] {
        setCode(query, code);
        TolvTrace_setLevel("bsp.core", 1);
        const auto answer = query.answers.find(code);
        const int expected = answer != query.answers.end() ? answer->second : query.unknown;
        EXPECT_EQ(query.inNamespace(), expected);
        TolvTrace_setLevel("bsp.core", 0);
        EXPECT_EQ(query.flat(), expected);
    });
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    const int quoted = code < 0 || query.quoted == Quoted::UnitsOwn ? code : 77;
    const auto message =
        std::string(": ") + query.name + "(): " + query.message + std::to_string(quoted);
    EXPECT_EQ(countLines(outcome.err, message), query.answers.contains(code) ? 0 : 1)
        << outcome.err;
    EXPECT_EQ(countLines(outcome.err, query.message), query.answers.contains(code) ? 0 : 1);
}

TEST(CodeQueries, MapWordsOfTheHardwareCode) {
    for (const Query& query : Queries) {
        for (const int code : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 255, -1, INT32_MIN}) {
            expectAnswers(query, code);
        }
    }
}

struct Channels {
    int productCode;
    unsigned count;
};

// By the platform's product code; 8 and 15 stand for no product.
constexpr Channels ChannelCounts[] = {
    {1, 2}, {2, 1},  {3, 2},  {4, 2},  {5, 2},  {6, 2},  {7, 1},  {8, 1},
    {9, 1}, {10, 2}, {11, 2}, {12, 1}, {13, 2}, {14, 1}, {15, 1},
};

TEST(CodeQueries, ChannelsFollowFromTheProduct) {
    for (const Channels& row : ChannelCounts) {
        SCOPED_TRACE(row.productCode);
        const auto outcome = inChild([&] {
            hwVariants[14].productCode = row.productCode;
            TolvTrace_setLevel("bsp.core", 7);
            EXPECT_EQ(os::bsp::getNumberOfChannels(), row.count);
            TolvTrace_setLevel("bsp.core", 0);
            EXPECT_EQ(Bsp_getNumberOfChannels(), row.count);
        });
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        const bool unknown = row.productCode == 8 || row.productCode == 15;
        const std::pair<const char*, int> messages[] = {
            {": ENTER getNumberOfChannels()", 1},
            {"getNumberOfChannels(): Unknown product id: 18", unknown ? 1 : 0},
            {"getProductId(): Unknown product ID: ", unknown ? 2 : 0}, // asked again to be quoted
            {row.count == 1 ? "getNumberOfChannels(): numberOfChannels = 1"
                            : "getNumberOfChannels(): numberOfChannels = 2",
             1},
        };
        for (const auto& [message, count] : messages) {
            EXPECT_EQ(countLines(outcome.err, message), count) << message << outcome.err;
        }
    }
}

TEST(CodeQueries, EntriesAreTracedBeforeAnythingElse) {
    const auto outcome = inChild([] {
        TolvTrace_setLevel("bsp.core", 6);
        Bsp_getDspType(); // the EEPROM cannot be read
        Bsp_getSwitchType();
        Bsp_getSwitchType();
        Bsp_getNumberOfRlt();
        EXPECT_EQ(Bsp_getSwitchType(), 0);
    });
    EXPECT_EQ(outcome.err.find("ENTER getDspType()") < outcome.err.find("e2prom_data_read"), true);
    EXPECT_EQ(countLines(outcome.err, ": ENTER getSwitchType()"), 3) << outcome.err;
    EXPECT_EQ(countLines(outcome.err, ": ENTER getNumberOfRadiolinks()"), 1);
    EXPECT_EQ(countLines(outcome.err, ""), 6) << outcome.err;
}

} // namespace
