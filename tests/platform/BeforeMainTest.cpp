#include "Process.hpp"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <regex>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace test;

const auto File = unit::Root / "etc/qor/hw_variants";
const std::string Row = "1 0 0 0 0 0 0 2  16 0 0 0 0 0 0 ";
const std::string OtherRow = "1 0 0 0 0 0 0 3  16 0 0 0 0 0 0 ";
const std::string BuiltIn = "; the built-in hardware variants are used\n";
const std::string Malformed = ": not a row of 16 integers" + BuiltIn;
const std::string Ignored = "\" is not <trace>=<level>, ignored\n";
const std::string Record = "[DDevIo.PthreadMutex] 7 include/PthreadMutex:";
const std::string End =
    "[DDevIo.PthreadMutex] 6 include/PthreadMutex:~PthreadMutex: ENTER ~PthreadMutex().\n";
const std::string All =
    Record + "lock: ENTER lock().\n" + Record + "unlock: ENTER unlock().\n" + End;

struct Start {
    std::string levels;
    std::string variants;
    std::string product; // QOR4A comes from the built-in variants, QOR3001 from the file
    std::string errors;  // without line numbers of the source
};

const Start Starts[] = {
    {"", Row + "0", "QOR3001", ""},
    {"DDevIo.PthreadMutex=7", Row + "0", "QOR3001", All},
    {"*=0,DDevIo.PthreadMutex=6", Row + "0", "QOR3001", End},
    {"DDevIo.PthreadMutex=5,*=0", Row + "0", "QOR3001", ""},
    {"*=6,bsp.networking=0,Bsp.WarmDatabase=0", Row + "0", "QOR3001", End},
    {"=7", Row + "0", "QOR3001", "TOLVTRACE_LEVELS: \"=7" + Ignored},
    {"*", Row + "0", "QOR3001", "TOLVTRACE_LEVELS: \"*" + Ignored},
    {"*=7x", Row + "0", "QOR3001", "TOLVTRACE_LEVELS: \"*=7x" + Ignored},
    {"*=0", OtherRow + "-16 # -\n\n\t" + Row + "0x0\r\n#" + OtherRow + "0", "QOR3001", ""},
    {"*=0", OtherRow + "0X7fFFffff\n" + Row + "0", "QOR3001", ""},
    {"*=0", Row + "0\n\n" + Row + "\n", "QOR4A", File.string() + ":3" + Malformed},
    {"*=0", Row + "0\n" + Row + "1 2\nx", "QOR4A", File.string() + ":2" + Malformed},
    {"*=0", Row + "0x-5", "QOR4A", File.string() + ":1" + Malformed},
    {"*=0", Row + "1.5", "QOR4A", File.string() + ":1" + Malformed},
    {"*=0", Row + "2147483648", "QOR4A", File.string() + ":1" + Malformed},
    {"*=0", "directory", "QOR4A", File.string() + ": Is a directory" + BuiltIn},
};

TEST(BeforeMain, LevelsAndVariantsAreLoaded) {
    unit::restart(unit::Warm, std::string(32768, '\0'));
    for (const auto& [levels, variants, product, errors] : Starts) {
        unit::writeFile(File, variants);
        if (variants == "directory") {
            std::filesystem::remove(File);
            std::filesystem::create_directory(File);
        }
        setenv("TOLVTRACE_LEVELS", ("bsp.core=0," + levels).c_str(), 1);
        EXPECT_EQ(countOf(runProgram({BSPINFO, "product"}).out, " " + product), 1) << variants;
        const std::string log = runProgram({BSPCTL, "slot-id"}).err;
        EXPECT_EQ(std::regex_replace(log, std::regex(":\\d+ "), ":"), errors) << levels;
    }
}

TEST(BeforeMain, AFifoIsNotWaitedFor) {
    alarm(10); // ends the test if opening a FIFO waits for a writer
    const auto registers = unit::Root / "dev/top.sys_ctrl0";
    for (const auto& path : {File, unit::Eeprom, unit::Config / "RadiolinkMode", registers}) {
        unit::restart(unit::Warm, std::string(32768, '\0'));
        std::filesystem::create_directories(path.parent_path());
        std::filesystem::remove(path);
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        EXPECT_GE(runProgram({BSPINFO}).status, 0) << path;
        std::filesystem::remove(path);
    }
    std::filesystem::create_symlink(BSPINFO, registers);        // a running program is read-only
    EXPECT_EQ(runProgram({BSPINFO, "last-restart"}).status, 1); // readable, but unknown
}

} // namespace
