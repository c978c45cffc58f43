#include "Commands.hpp"

#include "PlatformRoot.hpp"
#include "Printable.hpp"
#include "Stream.hpp"
#include "WarmImage.hpp"
#include "WarmSharing.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace bspinfo {
namespace {

using namespace os::bsp::dtcm;

constexpr std::size_t ShownBytes = 8;
constexpr std::size_t TextColumns = 3;
constexpr std::size_t Columns = 7; // in the picture
constexpr std::size_t Width = 120;
constexpr std::size_t Height = 44;

struct Look {
    const char* mark;
    const char* colour;
};

Look lookOf(const Block& block) {
    constexpr Look Looks[] = {{"....", "#eef2f5"}, {"####", "#7fb3d5"}, {"?!?!", "#e6a08c"}};
    return Looks[static_cast<std::size_t>(kindOf(block))];
}

std::string label(const Block& block) {
    return kindOf(block) == Cell::Used ? std::string(nameOf(block)) : "";
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char character : text) {
        result += character == '<'   ? "&lt;"
                  : character == '>' ? "&gt;"
                  : character == '&' ? "&amp;"
                                     : std::string(1, character);
    }
    return result;
}

std::string rectangle(std::size_t index, const Block& block) {
    const std::string x = std::to_string(index % Columns * Width + 2);
    const std::string y = std::to_string(index / Columns * Height + 2);
    return "<g transform='translate(" + x + "," + y + ")'><rect width='" +
           std::to_string(Width - 4) + "' height='" + std::to_string(Height - 4) +
           "' rx='4' fill='" + lookOf(block).colour + "' stroke='#5d6d7e'/><text x='6' y='14'>" +
           std::to_string(index + 1) + "</text><text x='6' y='32'>" + escaped(label(block)) +
           "</text></g>\n";
}

// The cells drawn with characters: what is used, free, noise.
std::string drawText(const WarmArea& area) {
    std::string text;
    for (std::size_t i = 0; i < MaxNumberOfBlocks; ++i) {
        const std::string number = (i < 9 ? "0" : "") + std::to_string(i + 1);
        std::string cell = number + " " + lookOf(area.blocks[i]).mark + " " + label(area.blocks[i]);
        const bool isLast = i % TextColumns == TextColumns - 1;
        cell.resize(isLast ? cell.find_last_not_of(' ') + 1 : 24, ' ');
        text += cell + (isLast ? "\n" : "");
    }
    return text;
}

// The cells as a picture, an SVG document.
std::string drawSvg(const WarmArea& area) {
    constexpr std::size_t Rows = (MaxNumberOfBlocks + Columns - 1) / Columns;
    std::string picture = "<svg xmlns='http://www.w3.org/2000/svg' width='" +
                          std::to_string(Columns * Width) + "' height='" +
                          std::to_string(Rows * Height) +
                          "' font-family='monospace' font-size='12'>\n";
    for (std::size_t i = 0; i < MaxNumberOfBlocks; ++i) {
        picture += rectangle(i, area.blocks[i]);
    }
    return picture + "</svg>\n";
}

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
