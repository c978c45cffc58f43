#include "Images.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "bsp/Bsp.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace test;
using images::code;
using images::deflated;
using images::kernel;
using images::KernelFile;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

constexpr const char* TemporaryFile = "/dev/shm/zImage_tmp";
const std::string Untouched = "untouched";

struct Answer {
    int result;
    std::string rState;
    std::string log;
};

Answer ask(const char* file, std::size_t size = 10) {
    char buffer[16] = "untouched";
    CaptureStderr();
    const int result = Bsp_getKernelRState(file, buffer, size);
    return {result, buffer, GetCapturedStderr()};
}

std::string message(const std::string& text) {
    return "Bsp_getKernelRState(): " + text;
}

void writeImage(const std::string& content) {
    unit::writeFile(KernelFile, content);
}

void expectFailure(const Answer& answer, const std::string& text) {
    EXPECT_EQ(answer.result, -1);
    EXPECT_EQ(answer.rState, Untouched);
    EXPECT_EQ(countLines(answer.log, text), 1) << text << "\n" << answer.log;
    EXPECT_FALSE(std::filesystem::is_regular_file(TemporaryFile));
}

TEST(KernelRState, IsTheFourthPartOfTheRelease) {
    writeImage(code(18992) + deflated(kernel("4.9.0.R2A05")) + code(5000));
    TolvTrace_setLevel("bsp.core", 6);
    const Answer answer = ask(KernelFile, 8);
    EXPECT_EQ(answer.result, 0);
    EXPECT_EQ(answer.rState, "R2A05");
    for (const char* record :
         {": ENTER Bsp_getKernelRState(fileName ? fileName : \"(null)\"=/tmp/zImage)",
          ": ENTER Bsp_inflateArchive(fd=", ": ENTER Bsp_findLinuxVersion()",
          "Bsp_getKernelRState(): Bsp_inflateArchive() successful"}) {
        EXPECT_EQ(countLines(answer.log, record), 1) << answer.log;
    }
    EXPECT_FALSE(std::filesystem::exists(TemporaryFile));
}

TEST(KernelRState, ArgumentsAreCheckedFirst) {
    char buffer[8];
    expectFailure(ask(nullptr, 7), message("Invalid buffer size: 7"));
    expectFailure(ask(nullptr, 8), message("Undefined filename"));
    CaptureStderr();
    EXPECT_EQ(Bsp_getKernelRState("/tmp/none", nullptr, 8), -1);
    EXPECT_EQ(countLines(GetCapturedStderr(), message("Undefined buffer")), 1);
    TolvTrace_setLevel("bsp.core", 6);
    CaptureStderr();
    EXPECT_EQ(Bsp_getKernelRState(nullptr, buffer, 0), -1);
    EXPECT_EQ(countLines(GetCapturedStderr(), "\"(null)\"=(null))"), 1);
}

TEST(KernelRState, BadImagesAreErrors) {
    expectFailure(ask("/tmp/none"), message("Could not open file: /tmp/none"));
    expectFailure(ask("/tmp"), "File error before archive found. read() returned -1");
    writeImage(code(100000));
    expectFailure(ask(KernelFile), "Couldn't find ZLIB header");
    writeImage(deflated(kernel("4.9.0.R1")).substr(0, 40000));
    EXPECT_EQ(ask(KernelFile).result, -1);
    std::string wrongSum = deflated(kernel("4.9.0.R1"));
    wrongSum[wrongSum.size() - 6] ^= 1;
    writeImage(wrongSum);
    expectFailure(ask(KernelFile), "inflate() failed with error -3");
    writeImage(deflated("no banner"));
    expectFailure(ask(KernelFile), message("No Linux version found"));
    writeImage(deflated(""));
    expectFailure(ask(KernelFile), "unable to mmap temp image");
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0);
    const int writer = open("/tmp/fifo", O_RDWR);
    expectFailure(ask("/tmp/fifo"), message("lseek(zImage, 0, SEEK_SET) failed for /tmp/fifo"));
    close(writer);
}

TEST(KernelRState, WhatLiesAtTheTemporaryPathIsReplacedAndNeverFollowed) {
    writeImage(deflated(kernel("4.9.0.R2A05")));
    unit::writeFile("/tmp/victim", "victim");
    std::filesystem::create_symlink("/tmp/victim", TemporaryFile);
    EXPECT_EQ(ask(KernelFile).rState, "R2A05");
    EXPECT_EQ(unit::readFile("/tmp/victim"), "victim");
    unit::writeFile(TemporaryFile, "left over");
    EXPECT_EQ(ask(KernelFile).rState, "R2A05");
    ASSERT_EQ(mkfifo(TemporaryFile, 0600), 0);
    EXPECT_EQ(ask(KernelFile).rState, "R2A05");
    EXPECT_FALSE(std::filesystem::exists(TemporaryFile));
    std::filesystem::create_directory(TemporaryFile);
    expectFailure(ask(KernelFile), message("Could not open tmp file: /dev/shm/zImage_tmp"));
    EXPECT_TRUE(std::filesystem::is_directory(TemporaryFile));
}

TEST(KernelRState, UnusableSharedMemoryIsAnError) {
    writeImage(deflated(kernel("4.9.0.R1", 300000)));
    ASSERT_EQ(mount("none", "/dev/shm", "tmpfs", 0, "size=64k"), 0);
    expectFailure(ask(KernelFile), "Bsp_inflateArchive(): fwrite() failed");
    ASSERT_EQ(mount("none", "/dev/shm", "tmpfs", MS_RDONLY, nullptr), 0);
    expectFailure(ask(KernelFile), message("Could not open tmp file: /dev/shm/zImage_tmp"));
}

TEST(KernelRState, FileSizeLimitIsAnError) {
    writeImage(deflated(kernel("4.9.0.R1", 300000)));
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small = {65536, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &small);
    expectFailure(ask(KernelFile), "Bsp_inflateArchive(): fwrite() failed");
}

// The last, partly filled chunk stays in the stream's buffer until the search begins.
TEST(KernelRState, BufferedRestThatCannotBeWrittenIsReported) {
    ASSERT_EQ(mount("none", "/dev/shm", "tmpfs", 0, "size=64k"), 0);
    writeImage(deflated(std::string(65536 + 100, 'x')));
    const Answer answer = ask(KernelFile);
    expectFailure(
        answer, "Bsp_findLinuxVersion(): fseek failed with errno = No space left on device");
    EXPECT_EQ(countLines(answer.log, message("No Linux version found")), 1);
}

void askAgainAndAgain(const std::string& file, const std::string& rState) {
    for (int i = 0; i < 60; ++i) {
        char buffer[8] = "";
        EXPECT_EQ(Bsp_getKernelRState(file.c_str(), buffer, sizeof buffer), 0);
        EXPECT_EQ(buffer, rState);
    }
}

TEST(KernelRState, OverlappingCallsEachGetTheirAnswer) {
    for (const char* rState : {"R1A", "R2B", "R3C"}) {
        unit::writeFile(
            std::string("/tmp/") + rState, deflated(kernel(std::string("1.2.3.") + rState)));
    }
    Child process([] { askAgainAndAgain("/tmp/R3C", "R3C"); });
    {
        const std::jthread first([] { askAgainAndAgain("/tmp/R1A", "R1A"); });
        const std::jthread second([] { askAgainAndAgain("/tmp/R2B", "R2B"); });
    }
    const auto outcome = process.wait();
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(TemporaryFile));
}

long openDescriptors() {
    return std::distance(
        std::filesystem::directory_iterator("/proc/self/fd"),
        std::filesystem::directory_iterator());
}

std::ptrdiff_t mappings() {
    std::ifstream maps("/proc/self/maps");
    return static_cast<std::ptrdiff_t>(std::count(std::istreambuf_iterator<char>(maps), {}, '\n'));
}

TEST(KernelRState, NothingIsLeftOfManyMixedCalls) {
    TolvTrace_setLevel("bsp.core", 0);
    char buffer[16];
    unit::writeFile("/tmp/good", deflated(kernel("4.9.0.R1", 5000)));
    unit::writeFile("/tmp/cut", deflated(kernel("4.9.0.R1", 5000)).substr(0, 2000));
    unit::writeFile("/tmp/empty", deflated(""));
    const auto callAll = [&](int count) {
        for (int i = 0; i < count; ++i) {
            for (const char* file : {"/tmp/good", "/tmp/cut", "/tmp/empty", "/tmp/none", "/tmp"}) {
                Bsp_getKernelRState(file, buffer, sizeof buffer);
                Bsp_getUbootProductInfo(file, buffer, 8, buffer + 8, 8);
            }
        }
    };
    callAll(20);
    const long descriptors = openDescriptors();
    const long maps = mappings();
    callAll(400);
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_LE(mappings(), maps + 2); // an allocator may take some
}

} // namespace
