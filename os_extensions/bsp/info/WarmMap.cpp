#include "WarmMap.hpp"

#include "WarmImage.hpp"

namespace bspinfo {
namespace {

using namespace os::bsp::dtcm;

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

} // namespace

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

} // namespace bspinfo
