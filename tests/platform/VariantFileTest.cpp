#include "HwVariant.hpp"

#include "Process.hpp"
#include "Unit.hpp"

#include <gtest/gtest.h>

namespace {

using namespace test;

const auto File = unit::Root / "etc/qor/hw_variants";
constexpr const char* Row = "1 0 0 0 0 0 0 2  3 4 5 6 7 8 9 ";

TEST(VariantTable, FileReplacesTheBuiltInRows) {
    const std::pair<std::string, const char*> files[] = {
        {std::string("# remark\n\n") + Row + "10 # remark\n\t" + Row + "-16\r\n",
         "rows 2 last 1 2 -16"},
        {std::string(Row) + "0x7fFFffff", "rows 1 last 1 2 2147483647"},
        {"# nothing\n", "rows 0"},
        {"", "rows 0"},
    };
    for (const auto& [content, expected] : files) {
        unit::writeFile(File, content);
        const auto outcome = runProgram({PLATFORM_PROBE});
        EXPECT_EQ(countLines(outcome.out, expected), 1) << content << outcome.out;
        EXPECT_EQ(outcome.err, "");
    }
}

TEST(VariantTable, MalformedFileIsNamedAndReplacedByTheBuiltInRows) {
    const std::string good = std::string(Row) + "10\n";
    const std::pair<std::string, int> files[] = {
        {good + Row + "\n", 2},           // 15 numbers
        {good + "\n" + Row + "1 2\n", 3}, // 17 numbers
        {std::string(Row) + "x", 1},
        {std::string(Row) + "0x-5", 1},
        {std::string(Row) + "1.5", 1},
        {std::string(Row) + "2147483648", 1},
        {std::string(Row) + "0x80000000", 1},
    };
    for (const auto& [content, line] : files) {
        unit::writeFile(File, content);
        const auto outcome = runProgram({PLATFORM_PROBE});
        EXPECT_EQ(countLines(outcome.out, "rows 18"), 1) << content;
        EXPECT_EQ(outcome.err.find(File.string() + ":" + std::to_string(line) + ":"), 0u)
            << content << outcome.err;
        EXPECT_EQ(countLines(outcome.err, ""), 1);
    }
    std::filesystem::remove(File);
    std::filesystem::create_directory(File);
    EXPECT_EQ(countLines(runProgram({PLATFORM_PROBE}).err, "Is a directory"), 1);
}

} // namespace
