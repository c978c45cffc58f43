#include "Warm.hpp"

#include "WarmImage.hpp"
#include "WarmMap.hpp"
#include "WarmUsers.hpp"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace bspinfo {
namespace {

using namespace os::bsp::dtcm;

constexpr std::size_t ShownBytes = 8;

std::string printable(std::string_view name) {
    std::string text;
    for (const char character : name) {
        text += character >= ' ' && character <= '~' ? character : '?';
    }
    return text;
}

std::string hexadecimal(const std::byte* bytes, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        constexpr const char* Digits = "0123456789abcdef";
        const auto byte = std::to_integer<unsigned>(bytes[i]);
        text += {' ', Digits[byte / 16], Digits[byte % 16]};
    }
    return text;
}

// Mutexes are this run's: they say nothing about a dump.
void showCells(const WarmArea& area, bool withMutexes) {
    std::printf("cell  %-16s %-7s data\n", "name", "mutex");
    for (std::size_t i = 0; i < MaxNumberOfBlocks; ++i) {
        const Block& block = area.blocks[i];
        const std::string mutex = withMutexes ? describeMutex(i) : "-";
        const bool free = kindOf(block) == Cell::Free;
        std::printf(
            "%4zu  %-16s %-7s%s\n", i + 1, free ? "" : printable(nameOf(block)).c_str(),
            mutex.c_str(), free ? " free" : hexadecimal(block.data, ShownBytes).c_str());
    }
}

// The object begins with the id.
std::string slotId(const WarmArea& area) {
    for (const Block& block : area.blocks) {
        if (nameOf(block) == "SLOT") {
            std::int32_t id = 0;
            std::memcpy(&id, block.data, sizeof id);
            return id == -1 ? "not set" : std::to_string(id);
        }
    }
    return "no process has asked for it";
}

bool writePicture(const WarmArea& area, const std::string& file) {
    std::ofstream picture(file);
    picture << drawSvg(area);
    picture.close();
    return static_cast<bool>(picture);
}

// The exit status, too.
int summarise(const WarmArea& area, bool ofThisRun) {
    const std::string problem = problemOf(area);
    std::printf("run of cells  %s\n", problem.empty() ? "whole" : problem.c_str());
    std::printf("slot id       %s\n", slotId(area).c_str());
    if (ofThisRun) {
        std::printf("lock          %s\n", describeLock().c_str());
        std::printf("used by       %s\n", describeUsers().c_str());
    }
    return problem.empty() ? 0 : 1;
}

} // namespace

int warm(const std::string& dump, Map map, const std::string& picture) {
    std::string problem;
    const auto bytes = readWarmArea(dump.empty() ? WarmDevice : dump, problem);
    if (bytes.empty()) {
        std::fprintf(stderr, "bspinfo: %s\n", problem.c_str());
        return 2;
    }
    const auto& area = *reinterpret_cast<const WarmArea*>(bytes.data());
    if (map == Map::Svg && !writePicture(area, picture)) {
        std::fprintf(stderr, "bspinfo: %s cannot be written\n", picture.c_str());
        return 2;
    }
    if (map == Map::Text) {
        std::fputs(drawText(area).c_str(), stdout);
    } else if (map == Map::None) {
        showCells(area, dump.empty());
    }
    return summarise(area, dump.empty());
}

} // namespace bspinfo
