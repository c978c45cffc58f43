#include "Clock.hpp"

#include "ClockChip.hpp"
#include "ClockConfig.hpp"
#include "FileDescriptor.hpp"
#include "Stream.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include <fcntl.h>

namespace bspinfo {
namespace {

constexpr std::size_t First = clock_chip::ConfigurationRegister;

using Registers = std::array<std::uint8_t, sizeof ClockConfig::bytes>;

// Where the file is malformed, as compilers tell it.
void tellProblem(const std::string& file, const ClockConfig& config, const std::string& problem) {
    const int shown = static_cast<int>(std::min<std::size_t>(config.token.size(), 40));
    std::printf(
        "%s:%zu:%zu: %s: %.*s\n", file.c_str(), config.line, config.column, problem.c_str(), shown,
        config.token.c_str());
}

void tellContent(const std::string& file, const ClockConfig& config) {
    if (config.size == 0) {
        std::printf("%s: no numbers; the chip's registers stay as they are\n", file.c_str());
        return;
    }
    std::printf(
        "%s: %zu numbers, for registers %zu to %zu; %zu registers behind them stay as they are\n",
        file.c_str(), config.size, First, First + config.size - 1,
        config.bytes.size() - config.size);
}

// Empty, with errno set, when it cannot be read.
std::optional<Registers> readChip(std::size_t size) {
    const auto device =
        posix::FileDescriptor::own(open(clock_chip::DeviceName, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    Registers registers{};
    const bool done = device && clock_chip::readConfiguration(device.get(), registers.data(), size);
    return done ? std::optional(registers) : std::nullopt;
}

int compare(const ClockConfig& config) {
    const auto chip = readChip(config.size);
    if (!chip) {
        std::printf("%s cannot be read: %s\n", clock_chip::DeviceName, std::strerror(errno));
        return 0;
    }
    int different = 0;
    for (std::size_t i = 0; i < config.size; ++i) {
        if (chip->at(i) != config.bytes.at(i)) {
            ++different;
            std::printf(
                "register %zu: file %02x, chip %02x\n", First + i, config.bytes.at(i), chip->at(i));
        }
    }
    std::printf("%d registers differ\n", different);
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
        tellProblem(configuration, config, problem);
        return std::ferror(file.get()) != 0 ? 2 : 1;
    }
    tellContent(configuration, config);
    return compare(config);
}

} // namespace bspinfo
