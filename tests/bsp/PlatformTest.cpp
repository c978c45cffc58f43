#include "bsp/Platform.hpp"

#include "HwVariant.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"
#include "bsp/Bsp.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace test;
using os::bsp::hwVariants;

// One query of a word of the hardware code: every code that has a meaning, and all others' answer.
struct Query {
    const char* name;
    std::size_t word;
    int (*flat)();
    int (*inNamespace)();
    std::map<int, int> answers;
    int unknown;
    const char* message;
};

template <auto Function>
int asInt() {
    return static_cast<int>(Function());
}

const Query Queries[] = {
    {"getPlatformType",
     1,
     Bsp_getPlatformType,
     asInt<os::bsp::getPlatformType>,
     {{0, 1}, {1, 2}},
     3,
     "Unknown platformType: "},
    {"getTrafficBackplane",
     3,
     Bsp_getTrafficBackplane,
     asInt<os::bsp::getTrafficBackplane>,
     {{0, 1}, {3, 2}, {4, 2}, {5, 2}, {6, 2}, {7, 2}, {8, 2}},
     3,
     "Unknown backplaneType: "},
    {"getControlBackplane",
     2,
     Bsp_getControlBackplane,
     asInt<os::bsp::getControlBackplane>,
     {{0, 1}, {1, 2}, {2, 3}},
     4,
     "Unknown backplaneType: "},
};

// The variant row, the first one, quotes 77 at every word: messages must not print the unit's own.
void expectAnswers(const Query& query, int code) {
    SCOPED_TRACE(std::string(query.name) + " " + std::to_string(code));
    const auto outcome = inChild([&] {
        hwVariants.front().hwCode.words.fill(77);
        if (code < 0) { // only the default code can be negative
            std::filesystem::remove(unit::Eeprom);
            hwVariants[14].hwCode.words.fill(code);
        } else {
            unit::Code bytes = {99, 99, 99, 99, 99, 99, 99, 99};
            bytes[query.word] = static_cast<unsigned char>(code);
            unit::writeEeprom(bytes);
        }
        TolvTrace_setLevel("bsp.core", 1);
        const auto answer = query.answers.find(code);
        const int expected = answer != query.answers.end() ? answer->second : query.unknown;
        EXPECT_EQ(query.inNamespace(), expected);
        TolvTrace_setLevel("bsp.core", 0);
        EXPECT_EQ(query.flat(), expected);
    });
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    const int quoted = code < 0 ? code : 77;
    const auto message =
        std::string(": ") + query.name + "(): " + query.message + std::to_string(quoted);
    EXPECT_EQ(countLines(outcome.err, message), query.answers.contains(code) ? 0 : 1)
        << outcome.err;
}

TEST(Platform, QueriesMapWordsOfTheHardwareCode) {
    for (const Query& query : Queries) {
        for (const int code : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 255, -1, INT32_MIN}) {
            expectAnswers(query, code);
        }
    }
}

} // namespace
