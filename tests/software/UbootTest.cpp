#include "Images.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "bsp/Bsp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace test;
using namespace std::string_literals;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

constexpr const char* Device = "/tmp/uboot";
const std::string Product = "Product number: ";
const std::string RState = "R-state: ";

struct Answer {
    int result;
    std::string product;
    std::string rState;
    std::string log;
};

Answer ask(const char* device, std::size_t productSize = 32, std::size_t rStateSize = 32) {
    char product[40] = "untouched";
    char rState[40] = "untouched";
    std::memset(product + productSize, '\x55', 4);
    std::memset(rState + rStateSize, '\x55', 4);
    CaptureStderr();
    const int result = Bsp_getUbootProductInfo(device, product, productSize, rState, rStateSize);
    const std::string log = GetCapturedStderr();
    EXPECT_EQ(std::memcmp(product + productSize, "UUUU", 4), 0);
    EXPECT_EQ(std::memcmp(rState + rStateSize, "UUUU", 4), 0);
    return {result, product, rState, log};
}

struct Case {
    const char* name;
    std::string image;
    std::string product;
    std::string rState;
    std::size_t productSize = 32;
    std::size_t rStateSize = 32;
};

const Case Cases[] = {
    {"both", "x\n" + Product + "PN 0042 17\n..\n" + RState + "R1A\n", "PN 0042 17", "R1A"},
    {"other order", RState + "R1A\n" + Product + "PN\n", "PN", "R1A"},
    {"first of two", Product + "A\n" + Product + "B\n" + RState + "C\n" + RState + "D\n", "A", "C"},
    {"cut to fit", Product + "0123456789\n" + RState + "0123456789\n", "0123", "", 5, 1},
    {"carriage return", Product + "A\r\n" + RState + "\n", "A\r", ""},
    {"ends with the image", RState + "R1A", "Not found", "R1A"},
    {"ends with a zero", Product + "A\0B\n"s + RState + "C\0"s, "A", "C"},
    {"zeroes before", std::string(9, '\0') + Product + "A\n", "A", "Not found"},
    {"label cut off", RState + "R1\nProduct num", "Not found", "R1"},
    {"label at the very end", Product + "A\n" + RState, "A", ""},
    {"overlapping starts", "PProduct numProduct number: A\nRRR-stR-state: B\n", "A", "B"},
    {"label inside a value", Product + RState + "B\n", RState + "B", "B"},
    {"other case", "product number: A\nR-State: B\n", "Not found", "Not found"},
    {"empty", "", "Not found", "Not found"},
    {"short placeholder", "", "Not", "", 4, 1},
    {"large", std::string(300000, 'P') + Product + "A\n" + std::string(300000, 'R') + RState + "B",
     "A", "B"},
};

TEST(Uboot, ValuesFollowTheirLabels) {
    for (const Case& row : Cases) {
        SCOPED_TRACE(row.name);
        unit::writeFile(Device, row.image);
        const Answer answer = ask(Device, row.productSize, row.rStateSize);
        EXPECT_EQ(answer.result, 0);
        EXPECT_EQ(answer.product, row.product);
        EXPECT_EQ(answer.rState, row.rState);
        EXPECT_EQ(answer.log, "");
    }
}

TEST(Uboot, TellsWhereItFindsWhat) {
    TolvTrace_setLevel("bsp.core", 6);
    unit::writeFile(Device, "1234567" + RState + "R1A\n");
    const Answer answer = ask(Device);
    for (const char* record :
         {"] 6 os_", "Bsp_getUbootProductInfo(): Start parsing for u-boot strings:", "] 5 os_",
          "Bsp_getUbootProductInfo(): Product number = Not found",
          "Bsp_getUbootProductInfo(): \"R-state: \" found at offset 7",
          "Bsp_getUbootProductInfo(): R-state = R1A"}) {
        EXPECT_GE(countLines(answer.log, record), 1) << answer.log;
    }
    EXPECT_EQ(countLines(answer.log, ""), 4) << answer.log;
}

void expectFailure(const Answer& answer, const std::string& text) {
    EXPECT_EQ(answer.result, -1);
    EXPECT_EQ(answer.product, "untouched");
    EXPECT_EQ(answer.rState, "untouched");
    EXPECT_EQ(countLines(answer.log, "Bsp_getUbootProductInfo(): " + text), 1) << answer.log;
    EXPECT_EQ(countLines(answer.log, "[bsp.core]"), 1) << answer.log;
}

TEST(Uboot, DevicesThatCannotBeReadAreErrors) {
    expectFailure(
        ask("/tmp/none"),
        "Failed to open u-boot device with name /tmp/none. errno = No such file or directory");
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0);
    const int writer = open("/tmp/fifo", O_RDWR);
    expectFailure(ask("/tmp/fifo"), "Failed to get size of /tmp/fifo. errno = Illegal seek");
    close(writer);
    // As long as the address space: there is not so much memory.
    unit::writeFile("/tmp/long", "");
    ASSERT_EQ(truncate("/tmp/long", off_t{1} << 46), 0);
    expectFailure(ask("/tmp/long"), "Failed to allocate 70368744177665 bytes");
    const Answer folder = ask("/proc/self"); // a directory; what it says of its size differs
    EXPECT_EQ(folder.result, -1);
    EXPECT_EQ(folder.product, "untouched");
}

TEST(Uboot, DeviceThatDeliversLessThanItReports) {
    const Answer answer = ask("/proc/self/mem"); // has no end; reading at 0 fails
    EXPECT_EQ(answer.result, -1);
    unit::writeFile(Device, Product + "A\n" + RState + "B\n");
    EXPECT_EQ(ask(Device).product, "A");
}

TEST(Uboot, ArgumentsAreCheckedFirst) {
    char buffer[4] = "abc";
    const std::tuple<const char*, char*, std::size_t, char*, std::size_t, const char*> calls[] = {
        {nullptr, buffer, 4, buffer, 4, "Undefined device name"},
        {Device, nullptr, 4, buffer, 4, "Undefined buffer"},
        {Device, buffer, 4, nullptr, 4, "Undefined buffer"},
        {Device, buffer, 0, buffer, 4, "Invalid buffer size: 0"},
        {Device, buffer, 4, buffer, 0, "Invalid buffer size: 0"},
    };
    for (const auto& [device, product, productSize, rState, rStateSize, text] : calls) {
        CaptureStderr();
        EXPECT_EQ(Bsp_getUbootProductInfo(device, product, productSize, rState, rStateSize), -1);
        const std::string log = GetCapturedStderr();
        EXPECT_EQ(countLines(log, text), 1) << log;
        EXPECT_EQ(countLines(log, ""), 1) << log;
        EXPECT_STREQ(buffer, "abc");
    }
}

} // namespace
