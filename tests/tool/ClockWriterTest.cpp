#include "Process.hpp"
#include "Unit.hpp"
#include "bsp/Bsp.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <functional>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* Unknown = "Unknown board revision";

const char* board = "TK5452_R2_P1";
const char* latestBoard = Unknown;
std::function<void(int)> onPause = [](int) {
};
std::vector<useconds_t> pauses;
int failingFormat = 0; // which vsnprintf-like call fails, from 1
int formatResult = -1;

} // namespace

extern "C" {

BSP_EXPORT const char* Bsp_getBoardIdText() {
    return board;
}

BSP_EXPORT const char* Bsp_getLatestBoardIdText() {
    return latestBoard;
}

BSP_EXPORT int usleep(useconds_t useconds) {
    pauses.push_back(useconds);
    onPause(static_cast<int>(pauses.size()));
    return 0;
}

BSP_EXPORT int snprintf(char* s, std::size_t maxlen, const char* format, ...) {
    if (failingFormat > 0 && --failingFormat == 0) {
        return formatResult;
    }
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(s, maxlen, format, arguments); // NOLINT: it is
    va_end(arguments);
    return length;
}
}

namespace {

using namespace test;

constexpr const char* Device = "/dev/idt";
constexpr const char* ConfigFile = "/etc/idt_TK5452_R2_P1.conf";
constexpr const char* Completed =
    "NOTICE: Idt_writeConfig(): Completed successfully for TK5452_R2_P1\n";
constexpr const char* Identified =
    "NOTICE: Idt_init(): Device ID = 0x2345, Revision = 1, Dash Code = 828\n";

// 256 registers of 0xEE, with an identification.
std::string freshChip() {
    std::string registers(256, '\xEE');
    registers.replace(2, 4, "\x12\x34\x56\x78");
    return registers;
}

std::string programmedChip(std::string_view bytes) {
    return freshChip().replace(8, bytes.size(), bytes);
}

std::string error(const std::string& text) {
    return "ERROR: Idt_writeConfig(): " + text + "\n";
}

struct Result {
    int value;
    std::string out;
};

Result write() {
    testing::internal::CaptureStdout();
    const int value = Idt_writeConfig();
    return {value, testing::internal::GetCapturedStdout()};
}

class ClockWriter : public testing::Test {
protected:
    ClockWriter() { unit::writeFile(Device, freshChip()); }

    static void expectUntouched() { EXPECT_TRUE(unit::readFile(Device) == freshChip()); }
};

// A sanitizer needs its address space; its allocator refuses such a size by itself.
void limitMemory() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    const rlimit little = {1 << 28, 1 << 28};
    setrlimit(RLIMIT_AS, &little);
#endif
}

struct Content {
    const char* name;
    std::string text;
    std::string bytes;
};

std::string repeat(const std::string& text, int count) {
    std::string result;
    while (count-- > 0) {
        result += text;
    }
    return result;
}

TEST_F(ClockWriter, WritesTheLowByteOfEachNumber) {
    const Content contents[] = {
        {"empty", "", ""},
        {"blank", " \n\t\r\n", ""},
        {"prefixes", "0x1 0XfF 2 fe", "\x01\xff\x02\xfe"},
        {"CRLF", "1\r\n2\r\n", "\x01\x02"},
        {"wide", "1A5 100000012 1ffffffff34 123456789abcdef0178", "\xa5\x12\x34\x78"},
        {"signs", "-1 +2 -0x1F0", "\xff\x02\x10"},
        {"300 numbers", repeat("5a ", 300), std::string(216, '\x5a')},
        {"217th token is not looked at", repeat("7 ", 216) + "zz", std::string(216, '\7')},
    };
    for (const Content& content : contents) {
        SCOPED_TRACE(content.name);
        unit::writeFile(Device, freshChip());
        unit::writeFile(ConfigFile, content.text);
        const auto result = write();
        EXPECT_EQ(result.value, 0);
        EXPECT_EQ(result.out, std::string(Identified) + Completed);
        EXPECT_TRUE(unit::readFile(Device) == programmedChip(content.bytes));
    }
    EXPECT_TRUE(pauses.empty());
}

TEST_F(ClockWriter, BadTokenLeavesTheChipAlone) {
    const std::pair<std::string, int> files[] = {
        {"1 2 zz 4", 3},
        {"zz", 1},
        {"1 2,3", 2},
        {"1 0x", 2},
        {"12zz", 1},
        {"1 -", 2},
        {"1-2", 1},
        {repeat("1 ", 215) + "g", 216},
        {std::string(5000, '1'), 1},
        {"-0x" + std::string(5000, '1'), 1},
        {std::string("1 2\0", 4), 2},
        {"\xEF\xBB\xBF"
         "1",
         1},
    };
    for (const auto& [text, token] : files) {
        unit::writeFile(ConfigFile, text);
        const auto result = write();
        EXPECT_EQ(result.value, -1);
        EXPECT_EQ(
            result.out, error(
                            std::string(ConfigFile) + ": token " + std::to_string(token) +
                            " is not a hexadecimal number"));
        expectUntouched();
    }
}

TEST_F(ClockWriter, UnreadableFileLeavesTheChipAlone) {
    std::filesystem::create_directory(ConfigFile);
    const auto result = write();
    EXPECT_EQ(result.value, -1);
    EXPECT_EQ(
        result.out, error(std::string(ConfigFile) + ": read error at token 1: Is a directory"));
    expectUntouched();
}

TEST_F(ClockWriter, EndlessFileLeavesTheChipAlone) {
    std::filesystem::create_symlink("/dev/zero", ConfigFile);
    EXPECT_EQ(write().value, -1); // or the test's time runs out
    expectUntouched();
}

TEST_F(ClockWriter, MissingFileIsNoError) {
    const auto result = write();
    EXPECT_EQ(result.value, 0);
    EXPECT_EQ(
        result.out, "NOTICE: Idt_writeConfig(): IDT configuration file " + std::string(ConfigFile) +
                        " not found. Using configuration from OTP/u-boot.\n");
    expectUntouched();
}

TEST_F(ClockWriter, UnknownRevisionFallsBackToTheLatestBoard) {
    board = Unknown;
    EXPECT_EQ(write().out, error("Unknown product"));
    latestBoard = "TK5452_XPIC";
    unit::writeFile("/etc/idt_TK5452_XPIC.conf", "1");
    const auto result = write();
    EXPECT_EQ(result.value, 0);
    EXPECT_EQ(
        result.out,
        "NOTICE: Idt_writeConfig(): Unknown board revision, will use \"TK5452_XPIC\"\n" +
            std::string(Identified) +
            "NOTICE: Idt_writeConfig(): Completed successfully for TK5452_XPIC\n");
}

TEST_F(ClockWriter, MissingDeviceIsReported) {
    std::filesystem::remove(Device);
    const auto result = write();
    EXPECT_EQ(result.value, -1);
    EXPECT_EQ(result.out, error("/dev/idt could not be opened"));
}

TEST_F(ClockWriter, PathThatCannotBeBuiltIsReported) {
    const std::tuple<int, int, const char*> cases[] = {
        {1, -1, "Failed to calculate string length for idt config file path"},
        {2, 7, "Failed to create string with idt config file path"},
    };
    for (const auto& [call, value, message] : cases) {
        failingFormat = call;
        formatResult = value;
        const auto result = write();
        EXPECT_EQ(result.value, -1);
        EXPECT_EQ(result.out, error(message));
    }
    failingFormat = 1;
    formatResult = INT32_MAX;
    const auto outcome = inChild([] {
        limitMemory();
        EXPECT_EQ(Idt_writeConfig(), -1);
    });
    EXPECT_EQ(outcome.out, error("Failed to allocate memory for idt config file path"))
        << outcome.err;
    expectUntouched();
}

TEST_F(ClockWriter, ThirdAttemptAtIdentificationCounts) {
    unit::writeFile(ConfigFile, "1");
    unit::writeFile(Device, "\xEE\xEE");
    onPause = [](int pause) {
        if (pause == 2) {
            unit::writeFile(Device, freshChip());
        }
    };
    const auto result = write();
    EXPECT_EQ(result.value, 0);
    EXPECT_EQ(result.out, std::string(Identified) + Completed);
    EXPECT_EQ(pauses, (std::vector<useconds_t>{20000, 20000}));
}

TEST_F(ClockWriter, ChipThatDoesNotAnswerIsReported) {
    const std::string invalid = error("Failed due to invalid idt address");
    unit::writeFile(ConfigFile, "1");
    unit::writeFile(Device, "\xEE\xEE\xEE\xEE");
    EXPECT_EQ(write().out, "ERROR: Idt_init(): Input/output error\n" + invalid);
    EXPECT_EQ(pauses.size(), 2u);
    std::filesystem::remove(Device);
    std::filesystem::create_symlink("/dev/zero", Device); // its offset stays 0
    EXPECT_EQ(write().out, "ERROR: Idt_init(): Input/output error\n" + invalid);
    std::filesystem::remove(Device);
    ASSERT_EQ(mkfifo(Device, 0600), 0);
    const auto result = write();
    EXPECT_EQ(result.value, -1);
    EXPECT_EQ(result.out, "ERROR: Idt_init(): Illegal seek\n" + invalid);
}

TEST_F(ClockWriter, WriteCutShortIsReported) {
    unit::writeFile(ConfigFile, repeat("1 ", 216));
    std::signal(SIGXFSZ, SIG_IGN);
    for (const auto& [limit, text] :
         {std::pair{std::size_t{100}, "Input/output error"},
          std::pair{std::size_t{8}, "File too large"}}) {
        unit::writeFile(Device, freshChip());
        const auto outcome = inChild([limit = limit] {
            const rlimit size = {limit, limit};
            setrlimit(RLIMIT_FSIZE, &size);
            std::exit(Idt_writeConfig() == -1 ? 0 : 1);
        });
        EXPECT_EQ(outcome.status, 0);
        const std::string wanted = error(std::string("i2c write returned error ") + text);
        EXPECT_EQ(outcome.out.substr(0, limit), (Identified + wanted).substr(0, limit));
    }
}

TEST_F(ClockWriter, ClosedOutputIsNotTheChip) {
    unit::writeFile(ConfigFile, "1");
    const auto outcome = inChild([] {
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        close(STDOUT_FILENO);
        EXPECT_EQ(Idt_writeConfig(), 0);
    });
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(unit::readFile(Device) == programmedChip("\1"));
}

TEST_F(ClockWriter, NoDescriptorIsLeftOpen) {
    const auto lowest = [] {
        const int fd = dup(STDOUT_FILENO);
        close(fd);
        return fd;
    };
    const int before = lowest();
    unit::writeFile(ConfigFile, "1");
    write();
    unit::writeFile(ConfigFile, "zz");
    write();
    std::filesystem::remove(ConfigFile);
    write();
    EXPECT_EQ(lowest(), before);
}

} // namespace
