#include "Archive.hpp"

#include "FileDescriptor.hpp"
#include "Images.hpp"
#include "Process.hpp"
#include "Stream.hpp"
#include "TolvTrace.h"

#include <gtest/gtest.h>

#include <fcntl.h>

namespace {

using namespace test;
using namespace std::string_literals;
using images::code;
using images::deflated;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

const std::string Marker = "\x1f\x8b\x08";

support::FileDescriptor openFile(const std::string& content) {
    unit::writeFile(images::KernelFile, content);
    return support::FileDescriptor(open(images::KernelFile, O_RDONLY));
}

struct Search {
    const char* name;
    std::string content;
    int offset;
    std::string message;
};

const std::string NotFound = "Bsp_findArchive(): Couldn't find ZLIB header";

TEST(FindArchive, FirstWholeMarkerInTheFirst64KiB) {
    const Search searches[] = {
        {"at 0", Marker, 0, "Bsp_findArchive(): ZLIB header found at pos 0"},
        {"behind code", code(18992) + Marker, 18992, "ZLIB header found at pos 4a30"},
        {"two of them", "ab" + Marker + Marker, 2, "ZLIB header found at pos 2"},
        {"last place", code(65533) + Marker, 65533, "ZLIB header found at pos fffd"},
        {"one too far", code(65534) + Marker, -1, NotFound},
        {"beyond", code(70000) + Marker, -1, NotFound},
        {"other method first", "\x1f\x8b\x09"s + Marker, 3, "ZLIB header found at pos 3"},
        {"overlapping candidates", "\x1f\x1f\x8b\x1f\x8b\x08", 3, "ZLIB header found at pos 3"},
        {"cut off", code(10) + "\x1f\x8b", -1, NotFound},
        {"empty", "", -1, "Bsp_findArchive(): File error before archive found. read() returned 0"},
    };
    TolvTrace_setLevel("bsp.core", 6);
    for (const Search& search : searches) {
        SCOPED_TRACE(search.name);
        const auto file = openFile(search.content);
        CaptureStderr();
        EXPECT_EQ(Bsp_findArchive(file.get()), search.offset);
        const std::string log = GetCapturedStderr();
        EXPECT_EQ(countLines(log, search.message), 1) << log;
        EXPECT_EQ(countLines(log, ": ENTER Bsp_findArchive(fd="), 1) << log;
    }
    CaptureStderr();
    EXPECT_EQ(Bsp_findArchive(-1), -1);
    EXPECT_EQ(countLines(GetCapturedStderr(), "archive found. read() returned -1"), 1);
}

struct Inflation {
    int result;
    std::string content;
    std::string log;
};

Inflation inflateFile(const std::string& archive) {
    const auto file = openFile(archive);
    CaptureStderr();
    const support::Stream out(std::fopen("/tmp/out", "w"));
    const int result = Bsp_inflateArchive(file.get(), out.get());
    std::fflush(out.get());
    return {result, unit::readFile("/tmp/out"), GetCapturedStderr()};
}

TEST(InflateArchive, OutputOfEverySizeIsWhole) {
    for (const std::size_t size : {0, 1, 16383, 16384, 16385, 32768, 49152, 200000}) {
        for (const auto& content : {std::string(size, 'x'), unit::noise(size)}) {
            for (const int windowBits : {15 + 16, 15}) { // gzip, zlib
                const auto inflation = inflateFile(deflated(content, windowBits));
                EXPECT_EQ(inflation.result, 0) << size;
                EXPECT_TRUE(inflation.content == content) << size;
                EXPECT_EQ(inflation.log, "");
            }
        }
    }
}

// A gzip header with a file name of any length moves the end of the first input chunk about; some
// chunk then ends just where an output chunk is full, and inflate() has nothing to do.
TEST(InflateArchive, ChunksMayEndTogether) {
    const std::string content = unit::noise(50000);
    const std::string archive = deflated(content);
    for (std::size_t length = 0; length < 64; ++length) {
        std::string named = archive;
        named[3] = 8; // has a name
        named.insert(10, std::string(length, 'n') + '\0');
        const auto inflation = inflateFile(named);
        ASSERT_EQ(inflation.result, 0) << length;
        ASSERT_TRUE(inflation.content == content) << length;
    }
    const auto zeroes = inflateFile(deflated(std::string(16384UL * 1000, '\0')));
    EXPECT_EQ(zeroes.result, 0);
    EXPECT_EQ(zeroes.content.size(), 16384U * 1000);
}

TEST(InflateArchive, DataBehindTheArchiveAreIgnored) {
    const std::string content = unit::noise(30000);
    const auto inflation =
        inflateFile(deflated(content) + deflated("more") + std::string(40000, 'x'));
    EXPECT_EQ(inflation.result, 0);
    EXPECT_TRUE(inflation.content == content);
}

TEST(InflateArchive, TruncationIsAnError) {
    TolvTrace_setLevel("bsp.core", 4);
    const std::string content = unit::noise(40000);
    const std::string archive = deflated(content);
    for (std::size_t size = 0; size < archive.size(); size += 97) {
        const auto inflation = inflateFile(archive.substr(0, size));
        ASSERT_EQ(inflation.result, -1) << size;
        ASSERT_EQ(countLines(inflation.log, "] 4 os_"), 1) << inflation.log;
        ASSERT_EQ(countLines(inflation.log, "Bsp_inflateArchive(): End-of-file reached"), 1);
        ASSERT_TRUE(content.starts_with(inflation.content));
    }
}

TEST(InflateArchive, BadDataAreAnError) {
    std::string reserved = deflated("text");
    reserved[3] = '\xe0';
    std::string wrongSum = deflated(images::kernel("1.2.3.R1A"));
    wrongSum[wrongSum.size() - 5] ^= 1;
    for (const auto& archive : {reserved, wrongSum, Marker + std::string(100, '\xff')}) {
        const auto inflation = inflateFile(archive);
        EXPECT_EQ(inflation.result, -1);
        EXPECT_EQ(
            countLines(inflation.log, "Bsp_inflateArchive(): inflate() failed with error -3"), 1);
    }
    // A zlib stream that asks for a dictionary.
    EXPECT_EQ(
        countLines(inflateFile("\x78\xbb\x00\x01\x00\x01"s + "xxxx").log, "failed with error 2"),
        1);
    CaptureStderr();
    EXPECT_EQ(Bsp_inflateArchive(-1, stdout), -1);
    EXPECT_EQ(countLines(GetCapturedStderr(), "Read failed with errno = Bad file descriptor"), 1);
}

} // namespace
