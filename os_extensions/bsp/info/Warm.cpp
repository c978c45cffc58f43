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
#include <vector>

namespace bspinfo {
namespace {

using namespace os::bsp::dtcm;

constexpr std::size_t ShownBytes = 8;

void showCells(const WarmArea& area, const std::vector<std::string>& mutexes) {
    std::printf("cell  %-16s %-27s data\n", "name", "mutex");
    for (std::size_t i = 0; i < MaxNumberOfBlocks; ++i) {
        const Block& block = area.blocks[i];
        const bool free = kindOf(block) == Cell::Free;
        std::printf(
            "%4zu  %-16s %-27s%s\n", i + 1, printable(std::string(nameOf(block))).c_str(),
            mutexes.empty() ? "-" : mutexes[i].c_str(),
            free ? " free" : (" " + hexadecimal({block.data, ShownBytes})).c_str());
    }
}

// To a new file: nothing that lies there, be it a device, is written over. Empty, or what went
// wrong.
std::string write(const std::string& path, std::string_view content) {
    const posix::Stream file(std::fopen(path.c_str(), "wxe"));
    const bool done =
        file != nullptr &&
        std::fwrite(content.data(), 1, content.size(), file.get()) == content.size() &&
        std::fflush(file.get()) == 0;
    return done ? "" : path + " cannot be written: " + std::strerror(errno);
}

std::string writeFiles(const WarmArea& area, const WarmRequest& request) {
    std::string problem;
    if (!request.saved.empty()) {
        problem = write(request.saved, {reinterpret_cast<const char*>(&area), sizeof area});
    }
    if (problem.empty() && request.map == Map::Svg) {
        problem = write(request.picture, drawSvg(area));
    }
    return problem;
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

int warm(const WarmRequest& request) {
    const bool isDump = !request.dump.empty();
    const std::string device = platform::path(std::string("dev/") + WarmAreaDevice);
    const Mapping mapping = mapForReading(isDump ? request.dump : device, sizeof(WarmArea));
    if (mapping.memory == nullptr) {
        return fail(mapping.problem);
    }
    // A copy, because others may write to it meanwhile.
    const auto area = std::make_unique<WarmArea>(*static_cast<const WarmArea*>(mapping.memory));
    const std::string problem = writeFiles(*area, request);
    return problem.empty() ? show(*area, request.map, isDump) : fail(problem);
}

} // namespace bspinfo
