// Idt_writeConfig() of bsp/Bsp.h.
#include "ClockChip.hpp"
#include "ClockConfig.hpp"
#include "FileDescriptor.hpp"
#include "Memory.hpp"
#include "Stream.hpp"
#include "bsp/BoardId.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <fcntl.h>

namespace {

using clock_chip::DeviceName;
constexpr const char* PathFormat = "/etc/idt_%s.conf";
constexpr const char* WriterName = "Idt_writeConfig";
constexpr const char* InitName = "Idt_init";
constexpr std::string_view UnknownBoard = os::bsp::UnknownBoardRevision;

// A preloaded library may replace both functions, and may return null.
bool isKnown(const char* text) {
    return text != nullptr && text != UnknownBoard;
}

const char* findBoardText() {
    const char* const text = Bsp_getBoardIdText();
    if (isKnown(text)) {
        return text;
    }
    const char* const latest = Bsp_getLatestBoardIdText();
    if (!isKnown(latest)) {
        std::printf("ERROR: %s(): Unknown product\n", WriterName);
        return nullptr;
    }
    std::printf("NOTICE: %s(): Unknown board revision, will use \"%s\"\n", WriterName, latest);
    return latest;
}

posix::Malloced<char> makePath(const char* board) {
    const int length = std::snprintf(nullptr, 0, PathFormat, board);
    if (length < 0) {
        std::printf(
            "ERROR: %s(): Failed to calculate string length for idt config file path\n",
            WriterName);
        return nullptr;
    }
    const std::size_t size = static_cast<std::size_t>(length) + 1;
    posix::Malloced<char> path(static_cast<char*>(std::malloc(size)));
    if (path == nullptr) {
        std::printf(
            "ERROR: %s(): Failed to allocate memory for idt config file path\n", WriterName);
        return nullptr;
    }
    if (std::snprintf(path.get(), size, PathFormat, board) != length) {
        std::printf("ERROR: %s(): Failed to create string with idt config file path\n", WriterName);
        return nullptr;
    }
    return path;
}

bool readFile(std::FILE* file, const char* path, ClockConfig& config) {
    const std::string problem = readClockConfig(file, config);
    if (!problem.empty()) {
        std::printf("ERROR: %s(): %s: %s\n", WriterName, path, problem.c_str());
    }
    return problem.empty();
}

bool identifyChip(int device) {
    std::uint32_t word = 0;
    if (!clock_chip::readIdentification(device, word)) {
        std::printf("ERROR: %s(): %s\n", InitName, std::strerror(errno));
        std::printf("ERROR: %s(): Failed due to invalid idt address\n", WriterName);
        return false;
    }
    std::printf(
        "NOTICE: %s(): Device ID = %#.3x, Revision = %d, Dash Code = %d\n", InitName,
        word >> 12 & 0xffff, static_cast<int>(word >> 28), static_cast<int>(word >> 1 & 0x7ff));
    return true;
}

bool programChip(int device, const ClockConfig& config) {
    if (!identifyChip(device)) {
        return false;
    }
    if (!clock_chip::writeConfiguration(device, config.bytes.data(), config.size)) {
        std::printf("ERROR: %s(): i2c write returned error %s\n", WriterName, std::strerror(errno));
        return false;
    }
    return true;
}

enum class Result { Programmed, NothingToDo, Failed };

// Prints why it fails or has nothing to do. It closes what it opens.
Result configure(const char* board) {
    const posix::FileDescriptor device =
        posix::FileDescriptor::own(open(DeviceName, O_RDWR | O_CLOEXEC));
    if (!device) {
        std::printf("ERROR: %s(): %s could not be opened\n", WriterName, DeviceName);
        return Result::Failed;
    }
    const posix::Malloced<char> path = makePath(board);
    if (path == nullptr) {
        return Result::Failed;
    }
    const posix::Stream file = posix::openForReading(path.get());
    if (file == nullptr) {
        std::printf(
            "NOTICE: %s(): IDT configuration file %s not found. Using configuration from "
            "OTP/u-boot.\n",
            WriterName, path.get());
        return Result::NothingToDo;
    }
    ClockConfig config;
    const bool done = readFile(file.get(), path.get(), config) && programChip(device.get(), config);
    return done ? Result::Programmed : Result::Failed;
}

} // namespace

int Idt_writeConfig() {
    const char* const board = findBoardText();
    if (board == nullptr) {
        return -1;
    }
    const Result result = configure(board);
    if (result == Result::Programmed) {
        std::printf("NOTICE: %s(): Completed successfully for %s\n", WriterName, board);
    }
    return result == Result::Failed ? -1 : 0;
}
