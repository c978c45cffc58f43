#include "Commands.hpp"

#include "ClockChip.hpp"
#include "ClockConfig.hpp"
#include "File.hpp"
#include "Printable.hpp"
#include "Stream.hpp"

#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>

namespace bspinfo {
namespace {

constexpr std::size_t LargestFile = 65536;
constexpr std::size_t ShownCharacters = 40; // of a token

using Registers = std::array<std::uint8_t, sizeof ClockConfig::bytes>;

std::string counted(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

// The index counts from the first register of the configuration.
std::string address(std::size_t index) {
    return hexadecimal(static_cast<std::uint32_t>(clock_chip::ConfigurationRegister + index), 2);
}

std::string addresses(std::size_t first, std::size_t end) {
    return address(first) + (end - first > 1 ? "-" + address(end - 1) : "");
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

std::string describeContent(std::FILE* file, const ClockConfig& config) {
    if (config.size == 0) {
        return "no numbers; all registers stay as they are";
    }
    return counted(config.size, "number", "numbers") + " for " + addresses(0, config.size) +
           describeRest(file, config.bytes.size() - config.size);
}

// Gives the position as compilers do.
std::string describeProblem(
    const std::string& name, const ClockConfig& config, const std::string& problem) {
    return "malformed: " + name + ":" + std::to_string(config.line) + ":" +
           std::to_string(config.column) + ": " + problem + ": " +
           config.token.substr(0, ShownCharacters);
}

// Returns false, with errno set, if the chip cannot be read.
bool readChip(Registers& registers, std::size_t size) {
    const auto device =
        posix::FileDescriptor::own(open(clock_chip::DeviceName, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    return device && clock_chip::readConfiguration(device.get(), registers.data(), size);
}

bool differs(const ClockConfig& config, const Registers& chip, std::size_t i) {
    return i < config.size && chip.at(i) != config.bytes.at(i);
}

std::size_t countDifferent(const ClockConfig& config, const Registers& chip) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < config.size; ++i) {
        count += differs(config, chip, i) ? 1 : 0;
    }
    return count;
}

std::string rangesOfDifferent(const ClockConfig& config, const Registers& chip) {
    std::string text;
    for (std::size_t first = 0, end = 0; first < config.size; first = end + 1) {
        for (end = first; differs(config, chip, end);) {
            ++end;
        }
        if (end > first) {
            text += (text.empty() ? "" : ", ") + addresses(first, end);
        }
    }
    return text.empty() ? "none" : text;
}

std::string byteText(std::uint8_t byte) {
    return hexadecimal(std::as_bytes(std::span(&byte, 1)));
}

NamedAnswer describeRegister(const ClockConfig& config, const Registers& chip, std::size_t i) {
    const bool isConfigured = i < config.size;
    Answer answer = known(!isConfigured ? "kept" : differs(config, chip, i) ? "differs" : "same");
    answer.columns = {
        {"file", isConfigured ? byteText(config.bytes.at(i)) : "-", 2},
        {"chip", byteText(chip.at(i)), 2}};
    return {"register-" + address(i), answer};
}

// On a machine without the chip there is nothing to compare, which is no error.
Report compare(const ClockConfig& config, bool verbose) {
    Registers chip{};
    if (!readChip(chip, verbose ? chip.size() : config.size)) {
        const int error = errno;
        const std::string reason =
            std::string(clock_chip::DeviceName) + ": " + std::strerror(error);
        return error == ENOENT ? Report{{{"chip", known("none: " + reason)}}, 0}
                               : Report{{{"chip", unreadable(reason)}}, 2};
    }
    const std::size_t count = countDifferent(config, chip);
    const std::string ranges = rangesOfDifferent(config, chip);
    Report report = {{}, count > 0 ? 1 : 0};
    report.answers = {
        {"differing", known(std::to_string(count), static_cast<std::int64_t>(count))},
        {"ranges", known(ranges)}};
    for (std::size_t i = 0; verbose && i < chip.size(); ++i) {
        report.answers.push_back(describeRegister(config, chip, i));
    }
    return report;
}

Report failure(const std::string& problem) {
    return {{{"configuration", unreadable(problem)}}, 2};
}

Report check(const std::string& name, std::string content, bool verbose) {
    content += '\n'; // fmemopen() refuses an empty buffer
    const posix::Stream file(fmemopen(content.data(), content.size(), "r"));
    if (file == nullptr) {
        return failure(name + ": " + std::strerror(errno));
    }
    ClockConfig config;
    if (const std::string problem = readClockConfig(file.get(), config); !problem.empty()) {
        return {{{"configuration", known(describeProblem(name, config, problem))}}, 1};
    }
    Report report = compare(config, verbose);
    const Answer numbers = known(describeContent(file.get(), config));
    report.answers.insert(report.answers.begin(), {"configuration", numbers});
    return report;
}

} // namespace

Report clock(const Request& request) {
    const std::string name = request.operands.front();
    const auto content = posix::readFile(name);
    if (!content && errno != EFBIG) {
        return failure(name + ": " + std::strerror(errno));
    }
    if (!content || content->size() > LargestFile) {
        return failure(
            name + ": more than " + std::to_string(LargestFile) +
            " bytes, the limit for a configuration");
    }
    return check(name, *content, request.verbose);
}

} // namespace bspinfo
