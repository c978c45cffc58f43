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
    return answer(read, "read", fd, buf, std::min<std::size_t>(nbytes, 1000)); // less is allowed
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

using namespace std::string_literals;
using namespace unit;

constexpr const char* File = "/tmp/z";
constexpr const char* TemporaryFile = "/dev/shm/zImage_tmp";
char Product[40];
char Buffer[40];
const std::string Find = "1 Bsp_findArchive(): ";
const std::string Inflate = "1 Bsp_inflateArchive(): ";
const std::string Unreadable = Find + "File error before archive found. read() returned ";
const std::string InputError = "Input/output error\n";
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

int kernel(const Call& call) {
    return Bsp_getKernelRState(call.file, call.buffer, call.size);
}

int uboot(const Call& call) {
    return Bsp_getUbootProductInfo(call.file, Product, call.productSize, call.buffer, call.size);
}

// Checks a call's records, without trace, source and line, in which the first descriptor that it
// opens appears as "first". A call must leave no descriptor, mapping and file behind, must not
// write behind a buffer, and must not change a buffer if it fails.
template <int (&function)(const Call&)>
void expect(const std::initializer_list<Call>& calls) {
    const std::string before = "kept\0"s + std::string(35, '!');
    for (const Call& call : calls) {
        SCOPED_TRACE(&call - calls.begin());
        writeFile(File, call.image);
        before.copy(Product, sizeof Product);
        before.copy(Buffer, sizeof Buffer);
        TolvTrace_setLevel("bsp.core", call.level);
        testing::internal::CaptureStderr();
        const std::regex first("fd=" + std::to_string(nextDescriptor()) + "\\)");
        const auto descriptors = countFiles("/proc/self/fd");
        pending = call.fault;
        const int result = function(call);
        pending = {};
        EXPECT_EQ(countFiles("/proc/self/fd"), descriptors);
        const std::string log = recordsIn(testing::internal::GetCapturedStderr());
        std::string records = std::regex_replace(log, first, "fd=first)");
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

std::string archiveOf(const std::string& content) {
    const auto file = posix::FileDescriptor::own(memfd_create("archive", 0));
    gzFile_s* const stream = gzdopen(dup(file.get()), "wb1");
    gzwrite(stream, content.data(), static_cast<unsigned>(content.size()));
    gzclose(stream);
    return readFile("/proc/self/fd/" + std::to_string(file.get()));
}

const std::string Archive = archiveOf(noise(100000) + "\nLinux version 4.9.0.R2A05 #1 SMP\n");

TEST(KernelRState, ArchiveIsFoundAndInflated) {
    std::string image = std::string(42, '.') + archiveOf("Linux version 1.2.3.R1");
    image.resize(1003);
    const std::string enter = "6 ENTER Bsp_getKernelRState(fileName ? fileName : \"(null)\"=";
    const std::string steps = R"(/tmp/z)
6 ENTER Bsp_findArchive(fd=first)
7 Bsp_readHelper(): Read 1000 bytes
7 Bsp_readHelper(): Read 3 bytes
7 Bsp_readHelper(): Read 0 bytes
5 Bsp_findArchive(): ZLIB header found at pos 2a
6 ENTER Bsp_inflateArchive(fd=first)
7 Bsp_readHelper(): Read 961 bytes
7 Bsp_readHelper(): Read 0 bytes
5 Bsp_getKernelRState(): Bsp_inflateArchive() successful
6 ENTER Bsp_findLinuxVersion()
R1)";
    const std::string refusal = "(null))\n" + Kernel + "Undefined filename\n";
    const std::string badData = Inflate + "inflate() failed with error -3\n";
    expect<kernel>({
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
        {Archive.substr(0, Archive.size() - 1), "4 Bsp_inflateArchive(): End-of-file reached\n"},
        {archiveOf(""), Version + "unable to mmap temp image\n" + NoBanner},
        {.image = image, .expected = enter + steps, .level = 7},
        {.image = image, .expected = enter + refusal, .file = nullptr, .size = 8, .level = 7},
    });
}

TEST(KernelRState, BannerIsFoundAndParsed) {
    const std::string page(4096, '.');
    expect<kernel>({
        {archiveOf("Linux version 3.10.108.ABCDEFGHIJ"), "ABCDEFG"},
        {archiveOf("Linux version 4.14.78-rt44"), "kept"},
        {archiveOf("Linux version 4.9.0.-"), "kept"},
        {archiveOf("Linux versionX4.9.0.r1z"), "r1z"},
        {archiveOf("Linux version  +4. -9.\t0.R1"), "R1"},
        {archiveOf("Linux version 4.9.0.R1\0R2"s), "R1"},
        {archiveOf("Linux version " + std::string(200, ' ') + "4.9.0.R1"), "R1"},
        // The byte that ends a partial match is not tried as the start of the next one.
        {archiveOf("LLinux version 1.2.3.R1"), NoBanner},
        {archiveOf("LLLinux version 1.2.3.R1"), "R1"},
        {archiveOf("linux version 1.2.3.R1"), NoBanner},
        {archiveOf(page.substr(13) + "Linux version"), "kept"},
        {archiveOf(page.substr(23) + "Linux version 1.2.3.R1A"), "R1A"},
        {archiveOf(page.substr(12) + "Linux versio"), NoBanner},
    });
}

// An unlink() that does nothing stands for another call that recreates the file at once.
TEST(KernelRState, FileAtTheTemporaryPathIsReplacedAndNeverFollowed) {
    writeFile("/dev/shm/victim", "victim");
    std::filesystem::create_symlink("/dev/shm/victim", TemporaryFile);
    expect<kernel>({{Archive, "R2A05", {"unlink", 1, 0, 3}}});
    std::filesystem::create_hard_link("/dev/shm/victim", TemporaryFile);
    expect<kernel>({{Archive, "R2A05", {"unlink", 1, EPERM, 3}}}); // while it is another user's
    EXPECT_EQ(readFile("/dev/shm/victim"), "victim");
    ASSERT_EQ(mkfifo(TemporaryFile, 0600), 0);
    expect<kernel>({{Archive, NoTemporaryFile, {"unlink", 1, EPERM, 100000}}, {Archive, "R2A05"}});
    std::filesystem::create_directory(TemporaryFile);
    expect<kernel>({{Archive, NoTemporaryFile}});
    std::filesystem::remove(TemporaryFile);
    umask(0);
    pending = {"unlink", 2};
    Bsp_getKernelRState(File, Buffer, 8);
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
TEST(KernelRState, FullSharedMemoryIsReported) {
    ASSERT_EQ(mount("none", "/dev/shm", "tmpfs", 0, "size=64k"), 0);
    const std::string full = "fseek failed with errno = No space left on device\n";
    expect<kernel>({
        {Archive, Inflate + "fwrite() failed\n"},
        {archiveOf(std::string(65636, 'x')), Version + full + NoBanner},
    });
}

const std::string P = "Product number: ";
const std::string R = "R-state: ";

TEST(Uboot, ValuesFollowTheirLabels) {
    const std::string steps = "6 Bsp_getUbootProductInfo(): Start parsing for u-boot strings:\n"
                              "5 Bsp_getUbootProductInfo(): Product number = Not found\n"
                              "6 Bsp_getUbootProductInfo(): \"R-state: \" found at offset 7\n"
                              "5 Bsp_getUbootProductInfo(): R-state = R1A\n";
    expect<uboot>({
        {"x\n" + P + "PN 0042 17\n..\n" + R + "R1A\n", "PN 0042 17|R1A"},
        {R + "R1A\n" + P + "PN\n", "PN|R1A"},
        {P + "A\n" + P + "B\n" + R + "C\n" + R + "D\n", "A|C"},
        {P + "0123456789\n" + R + "0123456789\n", "0123|", {}, File, 1, 5},
        {P + "A\r\n" + R + "\n", "A\r|"},
        {R + "R1A", "Not found|R1A"},
        {P + "A\0B\n"s + R + "C\0"s, "A|C"},
        {std::string(9, '\0') + P + "A\nProduct num", "A|Not found"},
        {"PProduct numProduct number: A\nRRR-stR-state: B\n", "A|B"},
        {P + R + "B\n", R + "B|B"},
        {"product number: A\nR-State: B\nProduct number:C\nR-state:D\n", "Not found|Not found"},
        {"", "Not|", {}, File, 1, 4},
        {.image = "1234567" + R + "R1A\n", .expected = steps + "Not found|R1A", .level = 6},
    });
    EXPECT_EQ(std::string(Product, 32), "Not found" + std::string(23, '\0')); // padded with zeroes
}

TEST(Revision, EveryFailureIsReported) {
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0); // without a writer
    const std::string image = std::string(18992, '.') + Archive;
    const std::string repeated = "4 Bsp_readHelper(): read was interrupted. Retrying...\n";
    expect<kernel>({
        {"", Kernel + "Invalid buffer size: 7\n", {}, nullptr, 7},
        {"", Kernel + "Undefined buffer\n", {}, File, 8, 0, nullptr},
        {"", Kernel + "Could not open file: /tmp/none\n", {}, "/tmp/none"},
        {"", Kernel + "lseek(zImage, 0, SEEK_SET) failed for /tmp/fifo\n", {}, "/tmp/fifo"},
        {image, Kernel + "lseek(zImage, 18992, SEEK_SET) failed for /tmp/z\n", {"lseek64", 2, EIO}},
        {image, Unreadable + "-1\n", {"read", 2, EIO}},
        {image, Inflate + "Read failed with errno = " + InputError, {"read", 99, EIO}},
        {image, repeated + repeated + "R2A05", {"read", 99, EINTR, 2}},
        {image, Inflate + "inflateInit2() failed with error -1\n", {"inflateInit2_", 1, EIO}},
        {image, Inflate + "fwrite() failed\n", {"ferror", 1, EIO}},
        {image, Version + "fstat failed with errno = " + InputError + NoBanner, {Fstat, 1, EIO}},
    });
    const std::string bootLoader = P + "A\n" + std::string(1000, '.') + R + "R1A\n";
    const std::string cannotOpen = "Failed to open u-boot device with name /tmp/none. errno = ";
    writeFile("/tmp/huge", "");
    // The largest possible file; a 32-bit kernel allows less.
    const std::uint64_t huge = sizeof(void*) == 4 ? 1ULL << 43 : INT64_MAX;
    std::filesystem::resize_file("/tmp/huge", huge);
    expect<uboot>({
        {"", Uboot + "Undefined device name\n", {}, nullptr, 0, 0},
        {"", Uboot + "Undefined buffer\n", {}, File, 0, 4, nullptr},
        {"", Uboot + "Invalid buffer size: 0\n", {}, File, 0, 4},
        {"", Uboot + "Invalid buffer size: 0\n", {}, File, 4, 0},
        {"", Uboot + cannotOpen + "No such file or directory\n", {}, "/tmp/none"},
        {"", Uboot + "Failed to get size of /tmp/fifo. errno = Illegal seek\n", {}, "/tmp/fifo"},
        {"", Uboot + "Failed to set file offset. errno = " + InputError, {"lseek64", 2, EIO}},
        {"",
         Uboot + "Failed to allocate " + std::to_string(huge + 1) + " bytes\n",
         {},
         "/tmp/huge"},
        {bootLoader, Uboot + "Failed to read file. errno = " + InputError, {"read", 2, EIO}},
        {"", Uboot + "Failed to read file. errno = " + InputError, {"read", 1, EIO}},
        {bootLoader, "A|R1A"},
        {bootLoader, "A|Not found", {"read", 2}}, // a read() that returns 0
    });
}

} // namespace
