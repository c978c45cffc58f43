#include "Images.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "bsp/Bsp.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace test;
using namespace std::string_literals;
using images::code;
using images::deflated;
using images::kernel;

constexpr const char* ImageFile = "/tmp/zImage";
constexpr const char* TemporaryFile = "/dev/shm/zImage_tmp";
const std::string Kept = "kept";
const std::string Archive = deflated(kernel("4.9.0.R2A05"));
const std::string NotFound = "Bsp_findArchive(): Couldn't find ZLIB header";
const std::string NoBanner = "Bsp_getKernelRState(): No Linux version found";
const std::string BadData = "Bsp_inflateArchive(): inflate() failed with error -3";
const std::string NoTemporaryFile = "Could not open tmp file: /dev/shm/zImage_tmp";

/// Asks for the R-state of an image that gives `rState`, or else fails with `message`.
void expect(const std::string& rState, const std::string& message, const char* file = ImageFile) {
    char buffer[8] = "kept";
    TolvTrace_setLevel("bsp.core", 4);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Bsp_getKernelRState(file, buffer, sizeof buffer), message.empty() ? 0 : -1);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(buffer, rState);
    EXPECT_EQ(countLines(log, message), message.empty() ? 0 : 1) << log;
    EXPECT_FALSE(std::filesystem::is_regular_file(TemporaryFile));
}

void expectOf(
    const std::string& image, const std::string& rState, const std::string& message = "") {
    unit::writeFile(ImageFile, image);
    expect(rState, message);
}

struct Image {
    std::string content;
    std::string rState;
    std::string message = {};
};

std::string changed(std::string archive, std::size_t offset, char byte) {
    archive[offset] = byte;
    return archive;
}

std::string pageEndingIn(const std::string& text) {
    return std::string(4096 - text.size(), '.') + text;
}

TEST(KernelRState, ArchiveIsFoundAndInflated) {
    const std::string other = deflated(kernel("1.2.3.R1"));
    const Image images[] = {
        {Archive, "R2A05"},
        {code(18992) + Archive + code(5000), "R2A05"},
        {"ab" + Archive + other, "R2A05"},
        {code(65533) + Archive, "R2A05"},
        {"\x1f\x8b\x09\x1f" + Archive, "R2A05"},
        {code(65534) + Archive, Kept, NotFound},
        {code(10) + "\x1f\x8b", Kept, NotFound},
        {"", Kept, "Bsp_findArchive(): File error before archive found. read() returned 0"},
        {changed(Archive, 3, '\xe0'), Kept, BadData},
        {changed(Archive, Archive.size() - 6, 'x'), Kept, BadData},
        {Archive.substr(0, Archive.size() - 1), Kept, "Bsp_inflateArchive(): End-of-file reached"},
        {deflated(""), Kept, "Bsp_findLinuxVersion(): unable to mmap temp image"},
        {deflated("no banner"), Kept, NoBanner},
    };
    for (const Image& image : images) {
        SCOPED_TRACE(&image - images);
        expectOf(image.content, image.rState, image.message);
    }
}

TEST(KernelRState, BannerIsFoundAndParsed) {
    const Image banners[] = {
        {"Linux version 3.10.108.ABCDEFGHIJ", "ABCDEFG"},
        {"Linux version 4.14.78-rt44", Kept},
        {"Linux version 4.9.0.-", Kept},
        {"Linux version", Kept},
        {"Linux versionX4.9.0.R1", "R1"},
        {"Linux version  +4. -9.\t0.R1", "R1"},
        {"Linux version 4 .9.0.R1", Kept},
        {"Linux version 4.9.0.R1\0R2"s, "R1"},
        {"Linux version " + std::string(200, ' ') + "4.9.0.R1", "R1"},
        {"Linux is Linux; version 2. Linux version 1.2.3.R1", "R1"},
        // The byte that breaks a partial match is not taken for a new start.
        {"LLinux version 1.2.3.R1", Kept, NoBanner},
        {"Linux vLinux version 1.2.3.R1 and Linux version 1.2.3.R2", "R2"},
        {"LLLinux version 1.2.3.R1", "R1"},
        {"linux version 1.2.3.R1", Kept, NoBanner},
        {pageEndingIn("Linux version"), Kept},
        {pageEndingIn("Linux version 1.2.3.R1A"), "R1A"},
        {pageEndingIn("Linux versio"), Kept, NoBanner},
    };
    for (const Image& banner : banners) {
        SCOPED_TRACE(banner.content.substr(0, 60));
        expectOf(deflated(banner.content), banner.rState, banner.message);
    }
}

// The names of various lengths in the header move the end of the first input chunk about: some
// chunk then ends just where an output chunk is full.
TEST(KernelRState, ChunksMayEndAnywhere) {
    for (std::size_t length = 0; length < 64; ++length) {
        std::string named = changed(Archive, 3, 8);
        named.insert(10, std::string(length, 'n') + '\0');
        expectOf(named, "R2A05");
    }
    for (const std::size_t size : {16349, 16350, 16351, 49118, 16384 * 1000}) {
        expectOf(deflated(kernel("1.2.3.R1", size)), "R1");
    }
    for (std::size_t size = 20; size < Archive.size(); size += 997) {
        expectOf(Archive.substr(0, size), Kept, "Bsp_inflateArchive(): End-of-file reached");
    }
}

TEST(KernelRState, ArgumentsAreCheckedFirst) {
    char buffer[8];
    TolvTrace_setLevel("bsp.core", 6);
    const std::tuple<const char*, char*, std::size_t, const char*> calls[] = {
        {nullptr, buffer, 7, "Bsp_getKernelRState(): Invalid buffer size: 7"},
        {nullptr, buffer, 8, "Bsp_getKernelRState(): Undefined filename"},
        {ImageFile, nullptr, 8, "Bsp_getKernelRState(): Undefined buffer"},
        {nullptr, buffer, 0, "ENTER Bsp_getKernelRState(fileName ? fileName : \"(null)\"=(null))"},
    };
    for (const auto& [file, text, size, message] : calls) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(Bsp_getKernelRState(file, text, size), -1);
        EXPECT_EQ(countLines(testing::internal::GetCapturedStderr(), message), 1) << message;
    }
}

TEST(KernelRState, StepsAreTraced) {
    unit::writeFile(ImageFile, code(18992) + Archive);
    TolvTrace_setLevel("bsp.core", 6);
    char buffer[8];
    testing::internal::CaptureStderr();
    EXPECT_EQ(Bsp_getKernelRState(ImageFile, buffer, sizeof buffer), 0);
    const std::string log = testing::internal::GetCapturedStderr();
    for (const char* record :
         {"ENTER Bsp_findArchive(fd=", "ZLIB header found at pos 4a30",
          "ENTER Bsp_inflateArchive(fd=", "Bsp_inflateArchive() successful",
          "ENTER Bsp_findLinuxVersion()"}) {
        EXPECT_EQ(countLines(log, record), 1) << log;
    }
}

TEST(KernelRState, FilesThatCannotBeReadAreErrors) {
    expect(Kept, "Bsp_getKernelRState(): Could not open file: /tmp/none", "/tmp/none");
    expect(Kept, "File error before archive found. read() returned -1", "/tmp");
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0);
    std::fstream both("/tmp/fifo");
    expect(Kept, "lseek(zImage, 0, SEEK_SET) failed for /tmp/fifo", "/tmp/fifo");
}

TEST(KernelRState, WhatLiesAtTheTemporaryPathIsReplacedAndNeverFollowed) {
    unit::writeFile("/tmp/victim", "victim");
    std::filesystem::create_symlink("/tmp/victim", TemporaryFile);
    expectOf(Archive, "R2A05");
    EXPECT_EQ(unit::readFile("/tmp/victim"), "victim");
    ASSERT_EQ(mkfifo(TemporaryFile, 0600), 0);
    expectOf(Archive, "R2A05");
    EXPECT_FALSE(std::filesystem::exists(TemporaryFile));
    std::filesystem::create_directory(TemporaryFile);
    expectOf(Archive, Kept, NoTemporaryFile);
    EXPECT_TRUE(std::filesystem::is_directory(TemporaryFile));
}

// What does not fill a chunk stays in the stream's buffer until the search begins.
TEST(KernelRState, SharedMemoryThatTakesNothingIsAnError) {
    ASSERT_EQ(mount("none", "/dev/shm", "tmpfs", 0, "size=64k"), 0);
    expectOf(Archive, Kept, "Bsp_inflateArchive(): fwrite() failed");
    expectOf(
        deflated(std::string(65636, 'x')), Kept,
        "Bsp_findLinuxVersion(): fseek failed with errno = No space left on device");
    ASSERT_EQ(mount("none", "/dev/shm", "tmpfs", MS_RDONLY, nullptr), 0);
    expectOf(Archive, Kept, NoTemporaryFile);
}

void askAgainAndAgain(const std::string& rState) {
    for (int i = 0; i < 60; ++i) {
        char buffer[8] = "";
        EXPECT_EQ(Bsp_getKernelRState(("/tmp/" + rState).c_str(), buffer, sizeof buffer), 0);
        EXPECT_EQ(buffer, rState);
    }
}

TEST(KernelRState, OverlappingCallsEachGetTheirAnswer) {
    for (const std::string rState : {"R1A", "R2B", "R3C"}) {
        unit::writeFile("/tmp/" + rState, deflated(kernel("1.2.3." + rState)));
    }
    Child process([] { askAgainAndAgain("R3C"); });
    std::jthread first([] { askAgainAndAgain("R1A"); });
    askAgainAndAgain("R2B");
    first.join();
    EXPECT_EQ(process.wait().status, 0);
    EXPECT_FALSE(std::filesystem::exists(TemporaryFile));
}

std::size_t held(const char* folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

TEST(KernelRState, NothingIsLeftOfManyCalls) {
    TolvTrace_setLevel("bsp.core", 0);
    unit::writeFile("/tmp/good", Archive);
    unit::writeFile("/tmp/cut", Archive.substr(0, 2000));
    unit::writeFile("/tmp/empty", deflated(""));
    const std::size_t descriptors = held("/proc/self/fd");
    const std::size_t mappings = held("/proc/self/map_files");
    for (int i = 0; i < 100; ++i) {
        for (const char* file : {"/tmp/good", "/tmp/cut", "/tmp/empty", "/tmp/none", "/tmp"}) {
            char buffer[16];
            Bsp_getKernelRState(file, buffer, sizeof buffer);
            Bsp_getUbootProductInfo(file, buffer, 8, buffer + 8, 8);
        }
    }
    EXPECT_EQ(held("/proc/self/fd"), descriptors);
    EXPECT_LE(held("/proc/self/map_files"), mappings + 10); // an allocator may take some
}

} // namespace
