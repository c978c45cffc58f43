#include "Process.hpp"
#include "Unit.hpp"
#include "bsp/Bsp.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdarg>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char* board = "TK5452_R2_P1";
const char* latestBoard = nullptr;
std::vector<useconds_t> pauses;
int measuredLength = 0; // if not 0, snprintf() returns it when it has no buffer

} // namespace

extern "C" {

BSP_EXPORT const char* Bsp_getBoardIdText() {
    return board;
}

BSP_EXPORT const char* Bsp_getLatestBoardIdText() {
    return latestBoard;
}

BSP_EXPORT int snprintf(char* s, std::size_t maxlen, const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(s, maxlen, format, arguments);
    va_end(arguments);
    return s == nullptr && measuredLength != 0 ? measuredLength : length;
}

BSP_EXPORT off_t lseek(int fd, off_t offset, int whence) {
    EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
    return test::answer(lseek, "lseek64", fd, offset, whence);
}

BSP_EXPORT int usleep(useconds_t useconds) {
    pauses.push_back(useconds);
    return 0;
}
}

namespace {

using namespace test;

constexpr const char* Device = "/dev/idt";
const std::string ConfigFile = "/etc/idt_TK5452_R2_P1.conf";
const std::string Notice = "NOTICE: Idt_writeConfig(): ";
const std::string Error = "ERROR: Idt_writeConfig(): ";
const std::string Identified =
    "NOTICE: Idt_init(): Device ID = 0x2345, Revision = 1, Dash Code = 1852\n";
const std::string Done = Notice + "Completed successfully for TK5452_R2_P1\n";
const std::string Completed = Identified + Done;
const std::string BadToken = Error + ConfigFile + ": token ";
const std::string NoNumber = " is not a hexadecimal number\n";
const std::string NoAddress = Error + "Failed due to invalid idt address\n";

// Returns a chip's 256 registers: an identification, `bytes` from register 8 on, 0xEE elsewhere.
std::string chip(std::string_view bytes = "", const std::string& id = "\x12\x34\x5E\x78") {
    return std::string(256, '\xEE').replace(2, 4, id).replace(8, bytes.size(), bytes);
}

void expect(const std::string& out) {
    testing::internal::CaptureStdout();
    const auto descriptors = countFiles("/proc/self/fd");
    EXPECT_EQ(Idt_writeConfig(), countOf(out, "ERROR") > 0 ? -1 : 0);
    EXPECT_EQ(countFiles("/proc/self/fd"), descriptors);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), out);
}

// The text of a configuration file, the bytes that the chip gets, and what the writer prints.
const std::tuple<std::string, std::string, std::string> Configs[] = {
    {"", "", Completed},
    {"0x1 0XfF 2\r\nfe", "\x01\xff\x02\xfe", Completed},
    {"1A5 100000012 1ffffffff34 123456789abcdef0178", "\xa5\x12\x34\x78", Completed},
    {"-1 +2 -0x1F0 " + std::string(4096, '1'), "\xff\x02\x10\x11", Completed},
    {unit::repeat("7 ", 432) + "zz", std::string(216, '\7'), Completed},
    {"1 2 zz 4", "", BadToken + "3" + NoNumber},
    {"1 0x", "", BadToken + "2" + NoNumber},
    {"12G", "", BadToken + "1" + NoNumber},
    {std::string(4097, '1'), "", BadToken + "1" + NoNumber},
    {std::string("1 2\0", 4), "", BadToken + "2" + NoNumber},
};

TEST(ClockWriter, WritesTheLowByteOfEachNumberOrNothing) {
    for (const auto& [text, bytes, printed] : Configs) {
        SCOPED_TRACE(text);
        unit::writeFile(Device, chip());
        unit::writeFile(ConfigFile, text);
        expect(printed);
        EXPECT_TRUE(unit::readFile(Device) == chip(bytes));
    }
    EXPECT_TRUE(pauses.empty());
}

TEST(ClockWriter, UnreadableFileAndClosedOutputLeaveTheChipAlone) {
    unit::writeFile(Device, chip());
    const std::string notFound = " not found. Using configuration from OTP/u-boot.\n";
    expect(Notice + "IDT configuration file " + ConfigFile + notFound);
    mkfifo(ConfigFile.c_str(), 0600); // reads as an empty file; or the test times out
    expect(Completed);
    std::filesystem::remove(ConfigFile);
    std::filesystem::create_symlink("/dev/zero", ConfigFile); // or the test times out
    expect(BadToken + "1" + NoNumber);
    std::filesystem::remove(ConfigFile);
    std::filesystem::create_directory(ConfigFile);
    expect(Error + ConfigFile + ": read error at token 1: Is a directory\n");
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    close(STDOUT_FILENO); // the chip must not get this number
    EXPECT_EQ(Idt_writeConfig(), -1);
    EXPECT_TRUE(unit::readFile(Device) == chip());
}

TEST(ClockWriter, UnknownRevisionFallsBackToTheLatestBoard) {
    for (const char* const text : {static_cast<const char*>(nullptr), "Unknown board revision"}) {
        board = latestBoard = text;
        expect(Error + "Unknown product\n");
    }
    latestBoard = "TK5452_XPIC";
    const std::string fallback = Notice + "Unknown board revision, will use \"TK5452_XPIC\"\n";
    expect(fallback + Error + "/dev/idt could not be opened\n");
    EXPECT_FALSE(std::filesystem::exists(Device));
    unit::writeFile(Device, chip());
#ifndef _FORTIFY_SOURCE // with it, the layer calls __snprintf_chk()
    // Too little for the longest path.
    limit(RLIMIT_AS, std::stoull(unit::readFile("/proc/self/statm")) * 4096 + (1U << 30));
    for (const auto& [length, step] :
         {std::pair{-1, "calculate string length for"},
          {0x7fffffff, "allocate memory for"},
          {100, "create string with"}}) {
        measuredLength = length;
        expect(fallback + Error + "Failed to " + step + " idt config file path\n");
    }
    measuredLength = 0;
#endif
    unit::writeFile("/etc/idt_TK5452_XPIC.conf", "1");
    expect(fallback + Identified + Notice + "Completed successfully for TK5452_XPIC\n");
}

TEST(ClockWriter, IdentificationIsReadInUpToThreeAttempts) {
    unit::writeFile(ConfigFile, unit::repeat("1 ", 432));
    unit::writeFile(Device, "\xEE\xEE\xEE\xEE");
    expect("ERROR: Idt_init(): Input/output error\n" + NoAddress);
    EXPECT_EQ(std::exchange(pauses, {}), (std::vector<useconds_t>{20000, 20000}));
    unit::writeFile(Device, chip("", {"\xf0\x01\x2f\xff", 4}));
    pending = {"lseek64", 1, ENXIO, 2};
    expect("NOTICE: Idt_init(): Device ID = 0x012, Revision = 15, Dash Code = 2047\n" + Done);
    EXPECT_EQ(pauses.size(), 2U);
    std::filesystem::remove(Device);
    std::filesystem::create_symlink("/dev/zero", Device); // lseek() always returns 0
    expect("ERROR: Idt_init(): Input/output error\n" + NoAddress);
    pending = {"lseek64", 1, ENXIO, 3};
    expect("ERROR: Idt_init(): No such device or address\n" + NoAddress);
}

TEST(ClockWriter, FailedOrShortWriteIsReported) {
    const std::string failed = Identified + Error + "i2c write returned error ";
    unit::writeFile(Device, chip());
    unit::writeFile(ConfigFile, unit::repeat("1 ", 432));
    pending = {"lseek64", 2, ENXIO};
    expect(failed + "No such device or address\n");
    std::signal(SIGXFSZ, SIG_IGN);
    limit(RLIMIT_FSIZE, 220); // enough for the output, but not for the chip
    expect(failed + "Input/output error\n");
}

} // namespace
