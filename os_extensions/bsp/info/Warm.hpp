#pragma once

#include <string>

namespace bspinfo {

enum class Map { None, Text, Svg };

/// What is to be shown, and how.
struct WarmRequest {
    std::string dump;    // the unit's own area where this is empty
    Map map = Map::None; // in the place of the table
    std::string picture; // the file that a map in SVG goes to; empty for none
    std::string saved;   // the file that the area goes to as well; empty for none
};

/// Shows the warm area of the unit, with what processes share about it, or a dump of one. The
/// result is the exit status: 0 for a sound area, 1 for another, 2 when it cannot be read.
int warm(const WarmRequest& request);

} // namespace bspinfo
