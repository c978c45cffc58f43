#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"
#include "bsp/Bsp.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fstream>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int failingSeek = 0;     // which call of lseek() fails, from 1
off_t reportedSize = -1; // in place of a device's own, when not negative

} // namespace

// With 64-bit file offsets it is called lseek64 in the C library.
extern "C" BSP_EXPORT off_t lseek(int fd, off_t offset, int whence) {
    if (failingSeek > 0 && --failingSeek == 0) {
        errno = EIO;
        return -1;
    }
    if (whence == SEEK_END && reportedSize >= 0) {
        return reportedSize;
    }
    return reinterpret_cast<decltype(&lseek)>(dlsym(RTLD_NEXT, "lseek64"))(fd, offset, whence);
}

namespace {

using namespace test;
using namespace std::string_literals;

constexpr const char* Device = "/tmp/uboot";
const std::string P = "Product number: ";
const std::string R = "R-state: ";

struct Image {
    std::string content;
    std::string product;
    std::string rState;
    std::size_t productSize = 32;
    std::size_t rStateSize = 32;
};

const Image Images[] = {
    {"x\n" + P + "PN 0042 17\n..\n" + R + "R1A\n", "PN 0042 17", "R1A"},
    {R + "R1A\n" + P + "PN\n", "PN", "R1A"},
    {P + "A\n" + P + "B\n" + R + "C\n" + R + "D\n", "A", "C"},
    {P + "0123456789\n" + R + "0123456789\n", "0123", "", 5, 1},
    {P + "A\r\n" + R + "\n", "A\r", ""},
    {R + "R1A", "Not found", "R1A"},
    {P + "A\0B\n"s + R + "C\0"s, "A", "C"},
    {std::string(9, '\0') + P + "A\nProduct num", "A", "Not found"},
    {P + "A\n" + R, "A", ""},
    {"PProduct numProduct number: A\nRRR-stR-state: B\n", "A", "B"},
    {P + R + "B\n", R + "B", "B"},
    {"product number: A\nR-State: B\n", "Not found", "Not found"},
    {"", "Not", "", 4, 1},
};

// Expects the values, or a failure with `message`, and never a byte behind a buffer.
void expect(const Image& image, const std::string& message = "", const char* device = Device) {
    char product[40] = "kept";
    char rState[40] = "kept";
    std::memset(product + image.productSize, 'U', 4);
    std::memset(rState + image.rStateSize, 'U', 4);
    testing::internal::CaptureStderr();
    const int result =
        Bsp_getUbootProductInfo(device, product, image.productSize, rState, image.rStateSize);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(result, message.empty() ? 0 : -1);
    EXPECT_EQ(product, message.empty() ? image.product : "kept");
    EXPECT_EQ(rState, message.empty() ? image.rState : "kept");
    EXPECT_EQ(countLines(log, message), message.empty() ? 0 : 1) << log;
    EXPECT_EQ(std::memcmp(product + image.productSize, "UUUU", 4), 0);
    EXPECT_EQ(std::memcmp(rState + image.rStateSize, "UUUU", 4), 0);
}

TEST(Uboot, ValuesFollowTheirLabels) {
    for (const Image& image : Images) {
        SCOPED_TRACE(&image - Images);
        unit::writeFile(Device, image.content);
        expect(image);
    }
}

TEST(Uboot, StepsAreTraced) {
    TolvTrace_setLevel("bsp.core", 6);
    unit::writeFile(Device, "1234567" + R + "R1A\n");
    char text[32];
    testing::internal::CaptureStderr();
    EXPECT_EQ(Bsp_getUbootProductInfo(Device, text, 32, text, 32), 0);
    const std::string log = testing::internal::GetCapturedStderr();
    for (const char* record :
         {"6 os_extensions/bsp/src/Bsp:", "Start parsing for u-boot strings:",
          "Product number = Not found", "\"R-state: \" found at offset 7", "R-state = R1A"}) {
        EXPECT_GE(countLines(log, record), 1) << log;
    }
}

TEST(Uboot, DevicesThatCannotBeReadAreErrors) {
    expect(
        {}, "Failed to open u-boot device with name /tmp/none. errno = No such file or directory",
        "/tmp/none");
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0);
    std::fstream both("/tmp/fifo");
    expect({}, "Failed to get size of /tmp/fifo. errno = Illegal seek", "/tmp/fifo");
    unit::writeFile(Device, P + "A\n");
    failingSeek = 2;
    expect({}, "Failed to set file offset. errno = Input/output error");
    reportedSize = INT64_MAX;
    expect({}, "Failed to allocate 9223372036854775808 bytes");
    reportedSize = 1000; // the device delivers less
    expect({{}, "A", "Not found"});
    expect({}, "Failed to read file. errno = Is a directory", "/tmp");
}

TEST(Uboot, ArgumentsAreCheckedFirst) {
    char buffer[4] = "abc";
    const std::tuple<const char*, char*, std::size_t, char*, std::size_t, const char*> calls[] = {
        {nullptr, buffer, 4, buffer, 4, "Undefined device name"},
        {Device, nullptr, 4, buffer, 4, "Undefined buffer"},
        {Device, buffer, 4, buffer, 0, "Invalid buffer size: 0"},
    };
    for (const auto& [device, product, productSize, rState, rStateSize, text] : calls) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(Bsp_getUbootProductInfo(device, product, productSize, rState, rStateSize), -1);
        EXPECT_EQ(countLines(testing::internal::GetCapturedStderr(), text), 1);
        EXPECT_STREQ(buffer, "abc");
    }
}

} // namespace
