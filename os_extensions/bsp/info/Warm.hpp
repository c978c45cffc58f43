#pragma once

#include <string>

namespace bspinfo {

enum class Map { None, Text, Svg };

/// What is to be shown, and how.
struct WarmRequest {
    std::string dump;    // the unit's own area where this is empty
    Map map = Map::None; // in the place of the table
    std::string picture; // the new file that a map in SVG goes to
    std::string saved;   // the new file that the area goes to as well; empty for none
};

/// Shows the warm area of the unit, with what processes share about it, or a dump of one, once it
/// has written the files. The result is the exit status: 0 when the run of cells is whole, 1 when
/// it is not, 2 when the area cannot be read or a file not be written.
int warm(const WarmRequest& request);

} // namespace bspinfo
