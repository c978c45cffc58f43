#include "LinuxVersion.hpp"

#include "Images.hpp"
#include "Process.hpp"
#include "Stream.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

using namespace test;
using namespace std::string_literals;

constexpr const char* ImageFile = "/tmp/image";
constexpr const char* Kept = "kept"; // what the buffer held before
constexpr const char* None = nullptr;

struct Banner {
    std::string image;
    const char* rState;
};

std::string pageEndingIn(const std::string& text) {
    return std::string(4096 - text.size(), '.') + text;
}

const Banner Banners[] = {
    {"Linux version 4.9.0.R2A05 #1 SMP", "R2A05"},
    {"Linux version 3.10.108.ABCDEFGHIJ", "ABCDEFG"},
    {"Linux version 4.14.78-rt44", Kept},
    {"Linux version 4.9.0.-", Kept},
    {"Linux version 4.9.0", Kept},
    {"Linux version", Kept},
    {"Linux versionX4.9.0.R1", "R1"},
    {"Linux version\n4.9.0.R1", "R1"},
    {"Linux version  +4. -9.\t0.R1", "R1"},
    {"Linux version 4 .9.0.R1", Kept},
    {"Linux version 4.9.0. R1", Kept},
    {"Linux version 4.9.0.R1\0R2"s, "R1"},
    {"Linux version " + std::string(200, ' ') + "4.9.0.R1", "R1"},
    {"Linux is Linux; version 2. Linux version 1.2.3.R1", "R1"},
    {"Linux version 1.2.3.R1 Linux version 4.5.6.R2", "R1"},
    // The weak scan: the byte that breaks a partial match is not taken for a new start.
    {"LLinux version 1.2.3.R1", None},
    {"Linux Linux version 1.2.3.R1", None},
    {"Linux vLinux version 1.2.3.R1 and Linux version 1.2.3.R2", "R2"},
    {"Linux v Linux version 1.2.3.R1", "R1"},
    {"LLLinux version 1.2.3.R1", "R1"},
    {"LLLLinux version 1.2.3.R1", None},
    {"linux version 1.2.3.R1", None},
    {"Linux versio", None},
    {pageEndingIn("Linux version"), Kept},
    {pageEndingIn("Linux version "), Kept},
    {pageEndingIn("Linux version 1.2.3.R1A"), "R1A"},
    {pageEndingIn("Linux versio"), None},
};

TEST(LinuxVersion, BannerIsFoundAndParsed) {
    for (const Banner& banner : Banners) {
        SCOPED_TRACE(banner.image.substr(0, 60));
        unit::writeFile(ImageFile, banner.image);
        const support::Stream image(std::fopen(ImageFile, "r"));
        char buffer[] = "kept!!!!";
        buffer[4] = '\0';
        char* const result = Bsp_findLinuxVersion(image.get(), buffer);
        EXPECT_EQ(result, banner.rState != None ? buffer : nullptr);
        EXPECT_STREQ(buffer, banner.rState != None ? banner.rState : Kept);
    }
}

// Where a size has 32 bits, the rest of this image would look like a whole one.
TEST(LinuxVersion, ImageLargerThanTheAddressSpaceIsNotMappedInPart) {
    unit::writeFile(ImageFile, "Linux version 1.2.3.R1");
    ASSERT_EQ(truncate(ImageFile, (off_t{1} << 32) + 8192), 0);
    const support::Stream image(std::fopen(ImageFile, "r"));
    char buffer[8] = "";
    const bool fits = sizeof(void*) > 4;
    EXPECT_EQ(Bsp_findLinuxVersion(image.get(), buffer), fits ? buffer : nullptr);
    EXPECT_STREQ(buffer, fits ? "R1" : "");
}

TEST(LinuxVersion, WhatCannotBeMappedIsAnError) {
    unit::writeFile(ImageFile, "");
    const support::Stream image(std::fopen(ImageFile, "r"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(Bsp_findLinuxVersion(image.get(), nullptr), nullptr);
    EXPECT_EQ(
        countLines(
            testing::internal::GetCapturedStderr(),
            "Bsp_findLinuxVersion(): unable to mmap temp image"),
        1);
}

} // namespace
