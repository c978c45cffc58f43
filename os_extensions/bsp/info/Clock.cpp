#include "Commands.hpp"

#include "ClockChip.hpp"
#include "ClockConfig.hpp"
#include "FileDescriptor.hpp"
#include "Printable.hpp"
#include "Stream.hpp"

#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include <fcntl.h>

namespace bspinfo {
namespace {

constexpr std::size_t First = clock_chip::ConfigurationRegister;
constexpr std::size_t ShownCharacters = 40; // of a token

using Registers = std::array<std::uint8_t, sizeof ClockConfig::bytes>;

std::string counted(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

// As compilers tell it. The exit status, too.
int tellProblem(
    const std::string& name, std::FILE* file, const ClockConfig& config,
    const std::string& problem) {
    if (std::ferror(file) != 0) {
        std::fprintf(stderr, "bspinfo: %s: %s\n", name.c_str(), problem.c_str());
        return 2;
    }
    std::printf(
        "%s:%zu:%zu: %s: %s\n", name.c_str(), config.line, config.column, problem.c_str(),
        printable(config.token.substr(0, ShownCharacters)).c_str());
    return 1;
}

bool somethingFollows(std::FILE* file) {
    int character = std::getc(file);
    while (std::isspace(character) != 0) {
        character = std::getc(file);
    }
    return character != EOF;
}

std::string describeRest(std::FILE* file, std::size_t left) {
    if (left == 0) {
        return somethingFollows(file) ? "; what follows is ignored" : "";
    }
    return "; " + counted(
                      left, "register behind them stays as it is",
                      "registers behind them stay as they are");
}

void tellContent(const std::string& name, std::FILE* file, const ClockConfig& config) {
    const std::string numbers = config.size == 1
                                    ? "1 number, for register " + std::to_string(First)
                                    : std::to_string(config.size) + " numbers, for registers " +
                                          std::to_string(First) + " to " +
                                          std::to_string(First + config.size - 1);
    const std::string rest = describeRest(file, config.bytes.size() - config.size);
    std::printf("%s: %s%s\n", name.c_str(), numbers.c_str(), rest.c_str());
}

// Empty, with errno set, when it cannot be read.
std::optional<Registers> readChip(std::size_t size) {
    const auto device =
        posix::FileDescriptor::own(open(clock_chip::DeviceName, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    Registers registers{};
    const bool done = device && clock_chip::readConfiguration(device.get(), registers.data(), size);
    return done ? std::optional(registers) : std::nullopt;
}

// The exit status, too. A machine without the chip has nothing to compare.
int compare(const ClockConfig& config) {
    const auto chip = readChip(config.size);
    if (!chip) {
        const bool isThere = errno != ENOENT;
        std::fprintf(
            isThere ? stderr : stdout, "%s%s cannot be read: %s\n", isThere ? "bspinfo: " : "",
            clock_chip::DeviceName, std::strerror(errno));
        return isThere ? 2 : 0;
    }
    std::size_t different = 0;
    for (std::size_t i = 0; i < config.size; ++i) {
        if (chip->at(i) != config.bytes.at(i)) {
            ++different;
            std::printf(
                "register %zu: file %02x, chip %02x\n", First + i, config.bytes.at(i), chip->at(i));
        }
    }
    std::puts(counted(different, "register differs", "registers differ").c_str());
    return different > 0 ? 1 : 0;
}

} // namespace

int clock(const std::string& configuration) {
    const posix::Stream file = posix::openForReading(configuration.c_str());
    if (file == nullptr) {
        std::fprintf(stderr, "bspinfo: %s: %s\n", configuration.c_str(), std::strerror(errno));
        return 2;
    }
    ClockConfig config;
    if (const std::string problem = readClockConfig(file.get(), config); !problem.empty()) {
        return tellProblem(configuration, file.get(), config, problem);
    }
    if (config.size == 0) {
        std::printf("%s: no numbers; all registers stay as they are\n", configuration.c_str());
        return 0;
    }
    tellContent(configuration, file.get(), config);
    return compare(config);
}

} // namespace bspinfo
