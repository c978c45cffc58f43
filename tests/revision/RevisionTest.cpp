#include "FileDescriptor.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"
#include "bsp/Bsp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <regex>

#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace {

using namespace test;

// With 64-bit times on a 32-bit ABI, the C library's symbol has another name.
constexpr const char* Fstat = sizeof(time_t) > sizeof(long) ? "__fstat64_time64" : "fstat64";
constexpr std::size_t LongestRead = 1000; // a file may always deliver less

int nextDescriptor() {
    return posix::FileDescriptor::own(dup(STDERR_FILENO)).get();
}

} // namespace

extern "C" {
BSP_EXPORT off_t lseek(int fd, off_t offset, int whence) {
    EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
    return answer(lseek, "lseek64", fd, offset, whence);
}
BSP_EXPORT ssize_t read(int fd, void* buf, std::size_t nbytes) {
    return answer(read, "read", fd, buf, std::min(nbytes, LongestRead));
}
BSP_EXPORT int fstat(int fd, struct stat* buf) noexcept {
    return answer(fstat, Fstat, fd, buf);
}
BSP_EXPORT int unlink(const char* name) noexcept {
    return answer(unlink, "unlink", name);
}
BSP_EXPORT int ferror(FILE* stream) noexcept {
    return answer(ferror, "ferror", stream);
}
BSP_EXPORT int inflateInit2_(z_streamp strm, int windowBits, const char* version, int stream_size) {
    return answer(inflateInit2_, "inflateInit2_", strm, windowBits, version, stream_size);
}
}

namespace {

// Returns the records of `body`, without trace, source and line; the first descriptor that it opens
// appears as "first". It must close every descriptor.
std::string recordsOf(int level, const Fault& fault, const std::function<void()>& body) {
    TolvTrace_setLevel("bsp.core", level);
    testing::internal::CaptureStderr();
    const int descriptor = nextDescriptor();
    const auto descriptors = countFiles("/proc/self/fd");
    pending = fault;
    body();
    pending = {};
    EXPECT_EQ(countFiles("/proc/self/fd"), descriptors);
    const std::regex first("fd=" + std::to_string(descriptor) + "\\)");
    const std::string log = recordsIn(testing::internal::GetCapturedStderr());
    return std::regex_replace(log, first, "fd=first)");
}

using namespace std::string_literals;
using test::unit::readFile;
using test::unit::writeFile;

constexpr const char* File = "/tmp/z";
constexpr const char* TemporaryFile = "/dev/shm/zImage_tmp";
char Product[40];
char Buffer[40];
const std::string Find = "1 Bsp_findArchive(): ";
const std::string Inflate = "1 Bsp_inflateArchive(): ";
const std::string Unreadable = Find + "File error before archive found. read() returned ";
const std::string CutShort = "4 Bsp_inflateArchive(): End-of-file reached\n";
const std::string Kernel = "1 Bsp_getKernelRState(): ";
const std::string Version = "1 Bsp_findLinuxVersion(): ";
const std::string NoBanner = Kernel + "No Linux version found\n";
const std::string NoTemporaryFile = Kernel + "Could not open tmp file: /dev/shm/zImage_tmp\n";
const std::string Uboot = "1 Bsp_getUbootProductInfo(): ";

struct Call {
    std::string image;
    std::string expected; // the records and, if the call succeeds, the values
    Fault fault = {};
    const char* file = File;
    std::size_t size = 32;
    std::size_t productSize = 32;
    char* buffer = Buffer;
    int level = 4;
};

// A call must leave no mapping and no file behind, must not write behind a buffer, and must not
// change a buffer if it fails.
void expect(
    const std::initializer_list<Call>& calls, const std::function<int(const Call&)>& function) {
    const std::string before = "kept\0"s + std::string(35, '!');
    for (const Call& call : calls) {
        SCOPED_TRACE(&call - calls.begin());
        writeFile(File, call.image);
        before.copy(Product, sizeof Product);
        before.copy(Buffer, sizeof Buffer);
        int result = 1;
        auto records = recordsOf(call.level, call.fault, [&] { result = function(call); });
        const std::string product = Product == "kept"s ? "" : Product + "|"s;
        EXPECT_EQ(result == 0 ? records.append(product).append(Buffer) : records, call.expected);
        EXPECT_TRUE(result == 0 || result == -1) << result;
        const std::size_t size = result == 0 ? call.size : 0;
        const std::size_t productSize = result == 0 ? call.productSize : 0;
        EXPECT_EQ(std::memcmp(Buffer + size, &before[size], 40 - size), 0);
        EXPECT_EQ(std::memcmp(Product + productSize, &before[productSize], 40 - productSize), 0);
        EXPECT_EQ(readFile("/proc/self/maps").find("zImage_tmp"), std::string::npos);
        EXPECT_FALSE(std::filesystem::is_regular_file(TemporaryFile));
    }
}

void expectKernel(std::initializer_list<Call> calls) {
    expect(calls, [](const Call& call) {
        return Bsp_getKernelRState(call.file, call.buffer, call.size);
    });
}

void expectUboot(std::initializer_list<Call> calls) {
    expect(calls, [](const Call& call) {
        return Bsp_getUbootProductInfo(
            call.file, Product, call.productSize, call.buffer, call.size);
    });
}

std::string archiveOf(const std::string& content, const char* mode = "wb1") {
    const auto file = posix::FileDescriptor::own(memfd_create("archive", 0));
    gzFile_s* const stream = gzdopen(dup(file.get()), mode);
    gzwrite(stream, content.data(), static_cast<unsigned>(content.size()));
    gzclose(stream);
    return readFile("/proc/self/fd/" + std::to_string(file.get()));
}

std::string kernelOf(const std::string& release, std::size_t size = 100000) {
    return unit::noise(size) + "\nLinux version " + release + " #1 SMP\n";
}

const std::string Archive = archiveOf(kernelOf("4.9.0.R2A05"));

TEST(KernelRState, ArchiveIsFoundAndInflated) {
    const std::string badData = Inflate + "inflate() failed with error -3\n";
    expectKernel({
        {Archive, "R2A05", {}, File, 8},
        {std::string(18992, '\x1f') + Archive + "trailing", "R2A05"},
        {"ab" + Archive + archiveOf("Linux version 1.2.3.R1"), "R2A05"},
        {std::string(65533, '.') + Archive, "R2A05"},
        {"\x1f\x8b\x09\x1f" + Archive, "R2A05"},
        {std::string(65534, '.') + Archive, Find + "Couldn't find ZLIB header\n"},
        {"..\x1f\x8b", Find + "Couldn't find ZLIB header\n"},
        {"", Unreadable + "0\n"},
        {Archive.substr(0, 3) + '\xe0' + Archive.substr(4), badData},
        {Archive.substr(0, Archive.size() - 4) + "size", badData},
        {Archive.substr(0, 30000), CutShort},
        {Archive.substr(0, Archive.size() - 1), CutShort},
        {archiveOf(""), Version + "unable to mmap temp image\n" + NoBanner},
    });
}

TEST(KernelRState, BannerIsFoundAndParsed) {
    const std::string page(4096, '.');
    expectKernel({
        {archiveOf("Linux version 3.10.108.ABCDEFGHIJ"), "ABCDEFG"},
        {archiveOf("Linux version 4.14.78-rt44"), "kept"},
        {archiveOf("Linux version 4.9.0.-"), "kept"},
        {archiveOf("Linux versionX4.9.0.r1z"), "r1z"},
        {archiveOf("Linux version  +4. -9.\t0.R1"), "R1"},
        {archiveOf("Linux version 4 .9.0.R1"), "kept"},
        {archiveOf("Linux version 4.9.0.R1\0R2"s), "R1"},
        {archiveOf("Linux version " + std::string(200, ' ') + "4.9.0.R1"), "R1"},
        {archiveOf("Linux is Linux; version 2. Linux version 1.2.3.R1"), "R1"},
        // The byte that ends a partial match is not tried as the start of the next one.
        {archiveOf("LLinux version 1.2.3.R1"), NoBanner},
        {archiveOf("Linux vLinux version 1.2.3.R1 and Linux version 1.2.3.R2"), "R2"},
        {archiveOf("LLLinux version 1.2.3.R1"), "R1"},
        {archiveOf("linux version 1.2.3.R1"), NoBanner},
        {archiveOf(page.substr(13) + "Linux version"), "kept"},
        {archiveOf(page.substr(23) + "Linux version 1.2.3.R1A"), "R1A"},
        {archiveOf(page.substr(12) + "Linux versio"), NoBanner},
    });
}

TEST(KernelRState, StepsAreTraced) {
    std::string image = std::string(42, '.') + archiveOf("Linux version 1.2.3.R1");
    image.resize(1003);
    const std::string enter = "6 ENTER Bsp_getKernelRState(fileName ? fileName : \"(null)\"=";
    const std::string steps = "/tmp/z)\n"
                              "6 ENTER Bsp_findArchive(fd=first)\n"
                              "7 Bsp_readHelper(): Read 1000 bytes\n"
                              "7 Bsp_readHelper(): Read 3 bytes\n"
                              "7 Bsp_readHelper(): Read 0 bytes\n"
                              "5 Bsp_findArchive(): ZLIB header found at pos 2a\n"
                              "6 ENTER Bsp_inflateArchive(fd=first)\n"
                              "7 Bsp_readHelper(): Read 961 bytes\n"
                              "7 Bsp_readHelper(): Read 0 bytes\n"
                              "5 Bsp_getKernelRState(): Bsp_inflateArchive() successful\n"
                              "6 ENTER Bsp_findLinuxVersion()\n"
                              "R1";
    const std::string refusal = "(null))\n" + Kernel + "Undefined filename\n";
    expectKernel({
        {.image = image, .expected = enter + steps, .level = 7},
        {.image = image, .expected = enter + refusal, .file = nullptr, .size = 8, .level = 7},
    });
}

TEST(KernelRState, EveryFailureIsReported) {
    const std::string image = std::string(18992, '.') + Archive;
    const std::string repeated = "4 Bsp_readHelper(): read was interrupted. Retrying...\n";
    const std::string input = "Input/output error\n";
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0); // without a writer
    expectKernel({
        {"", Kernel + "Invalid buffer size: 7\n", {}, nullptr, 7},
        {"", Kernel + "Undefined buffer\n", {}, File, 8, 0, nullptr},
        {"", Kernel + "Could not open file: /tmp/none\n", {}, "/tmp/none"},
        {"", Kernel + "lseek(zImage, 0, SEEK_SET) failed for /tmp/fifo\n", {}, "/tmp/fifo"},
        {image, Kernel + "lseek(zImage, 18992, SEEK_SET) failed for /tmp/z\n", {"lseek64", 2, EIO}},
        {image, Unreadable + "-1\n", {"read", 2, EIO}},
        {image, Inflate + "Read failed with errno = " + input, {"read", 99, EIO}},
        {image, repeated + repeated + "R2A05", {"read", 99, EINTR, 2}},
        {image, Inflate + "inflateInit2() failed with error -1\n", {"inflateInit2_", 1, EIO}},
        {image, Inflate + "fwrite() failed\n", {"ferror", 1, EIO}},
        {image, Version + "fstat failed with errno = " + input + NoBanner, {Fstat, 1, EIO}},
    });
}

// An unlink() that does nothing stands for another call that recreates the file at once.
TEST(KernelRState, FileAtTheTemporaryPathIsReplacedAndNeverFollowed) {
    writeFile("/dev/shm/victim", "victim");
    std::filesystem::create_symlink("/dev/shm/victim", TemporaryFile);
    expectKernel({{Archive, "R2A05", {"unlink", 1, 0, 3}}});
    std::filesystem::create_hard_link("/dev/shm/victim", TemporaryFile);
    expectKernel({{Archive, "R2A05", {"unlink", 1, EPERM, 3}}}); // while it is another user's
    EXPECT_EQ(readFile("/dev/shm/victim"), "victim");
    ASSERT_EQ(mkfifo(TemporaryFile, 0600), 0);
    expectKernel({{Archive, NoTemporaryFile, {"unlink", 1, EPERM, 100000}}, {Archive, "R2A05"}});
    std::filesystem::create_directory(TemporaryFile);
    expectKernel({{Archive, NoTemporaryFile}});
    std::filesystem::remove(TemporaryFile);
    umask(0);
    recordsOf(4, {"unlink", 2}, [] { Bsp_getKernelRState(File, Buffer, 8); });
    EXPECT_EQ(std::filesystem::status(TemporaryFile).permissions(), std::filesystem::perms(0600));
}

// The temporary file gets the number of a closed standard stream. Moving it to another number
// fails, because the limit allows no more descriptors.
TEST(KernelRState, LackOfDescriptorsLeavesNoTemporaryFile) {
    writeFile(File, Archive);
    limit(RLIMIT_NOFILE, static_cast<rlim_t>(nextDescriptor()) + 1);
    ASSERT_EQ(close(STDIN_FILENO), 0);
    EXPECT_EQ(Bsp_getKernelRState(File, Buffer, 8), -1);
    EXPECT_FALSE(std::filesystem::exists(TemporaryFile));
}

// A last, partial chunk stays in the stream's buffer; the search flushes it, and only then it
// fails.
TEST(KernelRState, FullOrReadOnlySharedMemoryIsReported) {
    ASSERT_EQ(mount("none", "/dev/shm", "tmpfs", 0, "size=64k"), 0);
    const std::string full = "fseek failed with errno = No space left on device\n";
    expectKernel(
        {{Archive, Inflate + "fwrite() failed\n"},
         {archiveOf(std::string(65636, 'x')), Version + full + NoBanner}});
    ASSERT_EQ(mount("none", "/dev/shm", "tmpfs", MS_RDONLY, nullptr), 0);
    expectKernel({{Archive, NoTemporaryFile}});
}

const std::string P = "Product number: ";
const std::string R = "R-state: ";

TEST(Uboot, ValuesFollowTheirLabels) {
    const std::string steps = "6 Bsp_getUbootProductInfo(): Start parsing for u-boot strings:\n"
                              "5 Bsp_getUbootProductInfo(): Product number = Not found\n"
                              "6 Bsp_getUbootProductInfo(): \"R-state: \" found at offset 7\n"
                              "5 Bsp_getUbootProductInfo(): R-state = R1A\n";
    expectUboot({
        {"x\n" + P + "PN 0042 17\n..\n" + R + "R1A\n", "PN 0042 17|R1A"},
        {R + "R1A\n" + P + "PN\n", "PN|R1A"},
        {P + "A\n" + P + "B\n" + R + "C\n" + R + "D\n", "A|C"},
        {P + "0123456789\n" + R + "0123456789\n", "0123|", {}, File, 1, 5},
        {P + "A\r\n" + R + "\n", "A\r|"},
        {R + "R1A", "Not found|R1A"},
        {P + "A\0B\n"s + R + "C\0"s, "A|C"},
        {std::string(9, '\0') + P + "A\nProduct num", "A|Not found"},
        {P + "A\n" + R, "A|"},
        {"PProduct numProduct number: A\nRRR-stR-state: B\n", "A|B"},
        {P + R + "B\n", R + "B|B"},
        {"product number: A\nR-State: B\nProduct number:C\nR-state:D\n", "Not found|Not found"},
        {"", "Not|", {}, File, 1, 4},
        {.image = "1234567" + R + "R1A\n", .expected = steps + "Not found|R1A", .level = 6},
    });
    EXPECT_EQ(std::string(Product, 32), "Not found" + std::string(23, '\0')); // padded with zeroes
}

TEST(Uboot, EveryFailureIsReported) {
    const std::string image = P + "A\n" + std::string(1000, '.') + R + "R1A\n";
    const std::string cannotOpen = "Failed to open u-boot device with name /tmp/none. errno = ";
    const std::string input = "Input/output error\n";
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0); // without a writer
    writeFile("/tmp/huge", "");
    // The largest possible file; a 32-bit kernel allows less.
    const std::uint64_t huge = sizeof(void*) == 4 ? 1ULL << 43 : INT64_MAX;
    std::filesystem::resize_file("/tmp/huge", huge);
    const std::string bytes = std::to_string(huge + 1) + " bytes\n";
    expectUboot({
        {"", Uboot + "Undefined device name\n", {}, nullptr, 0, 0},
        {"", Uboot + "Undefined buffer\n", {}, File, 0, 4, nullptr},
        {"", Uboot + "Invalid buffer size: 0\n", {}, File, 0, 4},
        {"", Uboot + "Invalid buffer size: 0\n", {}, File, 4, 0},
        {"", Uboot + cannotOpen + "No such file or directory\n", {}, "/tmp/none"},
        {"", Uboot + "Failed to get size of /tmp/fifo. errno = Illegal seek\n", {}, "/tmp/fifo"},
        {"", Uboot + "Failed to set file offset. errno = " + input, {"lseek64", 2, EIO}},
        {"", Uboot + "Failed to allocate " + bytes, {}, "/tmp/huge"},
        {image, Uboot + "Failed to read file. errno = " + input, {"read", 2, EIO}},
        {"", Uboot + "Failed to read file. errno = " + input, {"read", 1, EIO}},
        {image, "A|R1A"},
        {image, "A|Not found", {"read", 2}}, // a read() that returns 0
    });
}

} // namespace
