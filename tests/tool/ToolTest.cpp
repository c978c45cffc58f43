#include "Process.hpp"
#include "Unit.hpp"

#include <gtest/gtest.h>

namespace {

using namespace test;

struct Call {
    std::vector<std::string> arguments;
    int status;
    std::string out;
    std::string err;
};

const std::string UnknownProduct = "ERROR: Idt_writeConfig(): Unknown product\n";

TEST(Tool, DispatchesItsOneFunction) {
    const std::string tool = BSPTOOL;
    const Call calls[] = {
        {{},
         1,
         "writeConfig         : write config values to idt device\n",
         "Usage: " + tool + " <function> [arguments]\n\n"},
        {{"WriteConfig"}, 1, "", "Unknown function: WriteConfig\n"},
        {{""}, 1, "", "Unknown function: \n"},
        {{"writeConfig "}, 1, "", "Unknown function: writeConfig \n"},
        {{"writeConfig"}, 1, UnknownProduct, ""},
        {{"writeConfig", "more", "words"}, 1, UnknownProduct, ""},
    };
    unit::writeEeprom({16, 0, 0, 0, 0, 0, 0, 0});
    for (const Call& call : calls) {
        auto command = call.arguments;
        command.insert(command.begin(), tool);
        const auto outcome = runProgram(command);
        EXPECT_EQ(outcome.status, call.status);
        EXPECT_EQ(outcome.out, call.out);
        EXPECT_EQ(outcome.err, call.err);
    }
}

// The loader's own sanitizer check objects to a library in front of the sanitizer's.
TEST(Tool, PreloadedBoardNameIsTaken) {
    const std::vector<std::string> environment = {
        "LD_PRELOAD=/tmp/board_name.so", "BRING_UP_BOARD=X1",
        "ASAN_OPTIONS=verify_asan_link_order=0"};
    std::filesystem::copy_file(BOARD_NAME, "/tmp/board_name.so"); // no blank or colon in its path
    unit::writeFile("/dev/idt", std::string(256, '\0'));
    const auto missing = runProgram({PROGRAM_CLOCK}, environment);
    EXPECT_EQ(missing.status, 0) << missing.err;
    EXPECT_EQ(countLines(missing.out, "IDT configuration file /etc/idt_X1.conf not found."), 1);
    unit::writeFile("/etc/idt_X1.conf", "1 2 3");
    const auto written = runProgram({PROGRAM_CLOCK}, environment);
    EXPECT_EQ(written.status, 0);
    EXPECT_EQ(unit::readFile("/dev/idt").substr(7, 5), std::string("\0\1\2\3\0", 5));
}

} // namespace
