#pragma once

#include <string>

namespace bspinfo {

enum class Map { None, Text, Svg };

/// Shows the warm area of the unit, with what processes share about it, or a dump of one where
/// `dump` names a file. A map takes the table's place; one in SVG goes to the file `picture`. The
/// result is the exit status: 0 for a sound area, 1 for another, 2 when it cannot be read.
int warm(const std::string& dump, Map map, const std::string& picture);

} // namespace bspinfo
