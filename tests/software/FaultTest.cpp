#include "Images.hpp"
#include "Process.hpp"
#include "bsp/Bsp.h"

#include <gtest/gtest.h>

#include <cerrno>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int failingSeek = 0; // which call of lseek() fails, from 1
bool failingStat = false;
bool failingInit = false;
off_t reportedSize = -1; // in place of a device's own, when not negative

} // namespace

extern "C" {

// With 64-bit file offsets these are called lseek64 and fstat64 in the C library.
BSP_EXPORT off_t lseek(int fd, off_t offset, int whence) {
    if (failingSeek > 0 && --failingSeek == 0) {
        errno = EIO;
        return -1;
    }
    if (whence == SEEK_END && reportedSize >= 0) {
        return reportedSize;
    }
    return reinterpret_cast<decltype(&lseek)>(dlsym(RTLD_NEXT, "lseek64"))(fd, offset, whence);
}

BSP_EXPORT int fstat(int fd, struct stat* buf) {
    if (failingStat) {
        errno = EIO;
        return -1;
    }
    return reinterpret_cast<decltype(&fstat)>(dlsym(RTLD_NEXT, "fstat64"))(fd, buf);
}

BSP_EXPORT int inflateInit2_(z_streamp strm, int windowBits, const char* version, int stream_size) {
    if (failingInit) {
        return Z_MEM_ERROR;
    }
    return reinterpret_cast<decltype(&inflateInit2_)>(dlsym(RTLD_NEXT, "inflateInit2_"))(
        strm, windowBits, version, stream_size);
}
}

namespace {

using namespace test;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

void expectKernelFailure(const char* text) {
    char buffer[8] = "kept";
    CaptureStderr();
    EXPECT_EQ(Bsp_getKernelRState(images::KernelFile, buffer, sizeof buffer), -1);
    EXPECT_STREQ(buffer, "kept");
    const std::string log = GetCapturedStderr();
    EXPECT_EQ(countLines(log, text), 1) << log;
}

TEST(SoftwareFault, KernelImage) {
    unit::writeFile(images::KernelFile, "code" + images::deflated(images::kernel("1.2.3.R1")));
    failingSeek = 2;
    expectKernelFailure("Bsp_getKernelRState(): lseek(zImage, 4, SEEK_SET) failed for /tmp/zImage");
    failingInit = true;
    expectKernelFailure("Bsp_inflateArchive(): inflateInit2() failed with error -4");
    failingInit = false;
    failingStat = true;
    expectKernelFailure("Bsp_findLinuxVersion(): fstat failed with errno = Input/output error");
    failingStat = false;
}

TEST(SoftwareFault, BootLoaderImage) {
    unit::writeFile("/tmp/uboot", "R-state: R1A\n");
    char product[16] = "kept";
    char rState[16] = "kept";
    const auto call = [&] {
        return Bsp_getUbootProductInfo("/tmp/uboot", product, 16, rState, 16);
    };
    CaptureStderr();
    failingSeek = 2;
    EXPECT_EQ(call(), -1);
    reportedSize = INT64_MAX;
    EXPECT_EQ(call(), -1);
    EXPECT_STREQ(rState, "kept");
    reportedSize = 1000; // the device delivers less
    EXPECT_EQ(call(), 0);
    EXPECT_STREQ(product, "Not found");
    EXPECT_STREQ(rState, "R1A");
    const std::string log = GetCapturedStderr();
    EXPECT_EQ(countLines(log, "Failed to set file offset. errno = Input/output error"), 1) << log;
    EXPECT_EQ(countLines(log, "Failed to allocate 9223372036854775808 bytes"), 1) << log;
}

} // namespace
