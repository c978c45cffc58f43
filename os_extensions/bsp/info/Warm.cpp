#include "Warm.hpp"

#include "PlatformRoot.hpp"
#include "Printable.hpp"
#include "SlotId.hpp"
#include "Stream.hpp"
#include "WarmImage.hpp"
#include "WarmLock.hpp"
#include "WarmMap.hpp"
#include "WarmUsers.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace bspinfo {
namespace {

using namespace os::bsp::dtcm;

constexpr std::size_t ShownBytes = 8;

std::string hexadecimal(const std::byte* bytes, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        constexpr const char* Digits = "0123456789abcdef";
        const auto byte = std::to_integer<unsigned>(bytes[i]);
        text += {' ', Digits[byte / 16], Digits[byte % 16]};
    }
    return text;
}

void showCells(const WarmArea& area, const std::vector<std::string>& mutexes) {
    std::printf("cell  %-16s %-27s data\n", "name", "mutex");
    for (std::size_t i = 0; i < MaxNumberOfBlocks; ++i) {
        const Block& block = area.blocks[i];
        const bool free = kindOf(block) == Cell::Free;
        std::printf(
            "%4zu  %-16s %-27s%s\n", i + 1, printable(std::string(nameOf(block))).c_str(),
            mutexes.empty() ? "-" : mutexes[i].c_str(),
            free ? " free" : hexadecimal(block.data, ShownBytes).c_str());
    }
}

bool writePicture(const WarmArea& area, const std::string& file) {
    const posix::Stream picture(std::fopen(file.c_str(), "we"));
    return picture != nullptr && std::fputs(drawSvg(area).c_str(), picture.get()) >= 0 &&
           std::fflush(picture.get()) == 0;
}

void tell(const char* name, const std::string& text) {
    std::printf("%-14s%s\n", name, text.c_str());
}

// The exit status, too.
int summarise(const WarmArea& area) {
    const std::string problem = problemOf(area);
    tell("run of cells", problem.empty() ? "whole" : problem);
    tell("slot id", slotId(area));
    return problem.empty() ? 0 : 1;
}

void tellOfProcesses(const std::string& mutexProblem) {
    if (!mutexProblem.empty()) {
        tell("mutexes", mutexProblem);
    }
    for (const auto& [name, state] : describeLock()) {
        tell(name, state);
    }
    tell("used by", describeUsers());
}

// Mutexes and lock are this run's: they say nothing about a dump. The result is the exit status.
int show(const WarmArea& area, Map map, bool isDump) {
    std::string problem;
    const auto mutexes = isDump ? std::vector<std::string>() : describeMutexes(problem);
    if (map == Map::Text) {
        std::fputs(drawText(area).c_str(), stdout);
    } else if (map == Map::None) {
        showCells(area, mutexes);
    }
    const int status = summarise(area);
    if (!isDump) {
        tellOfProcesses(problem);
    }
    return status;
}

int fail(const std::string& problem) {
    std::fprintf(stderr, "bspinfo: %s\n", problem.c_str());
    return 2;
}

} // namespace

int warm(const std::string& dump, Map map, const std::string& picture) {
    const std::string device = platform::path(std::string("dev/") + WarmAreaDevice);
    const Mapping mapping = mapForReading(dump.empty() ? device : dump, sizeof(WarmArea));
    if (mapping.memory == nullptr) {
        return fail(mapping.problem);
    }
    // A copy, because others may write to it meanwhile.
    const auto area = std::make_unique<WarmArea>(*static_cast<const WarmArea*>(mapping.memory));
    if (map == Map::Svg && !writePicture(*area, picture)) {
        return fail(picture + " cannot be written: " + std::strerror(errno));
    }
    return show(*area, map, !dump.empty());
}

} // namespace bspinfo
