/// What bspinfo does beside telling fields of identity.
#pragma once

#include "Answers.hpp"

#include <span>
#include <string>

namespace bspinfo {

/// The revisions of kernel and boot loader in these images, or in the unit's own where there is no
/// image: a boot loader's is product and R-state. Another image of a kind has a number behind its
/// name.
Answers softwareRevisions(std::span<char* const> images);

/// Checks a configuration file of the clock chip and tells, register by register, what the chip has
/// otherwise, if it can be read. The result is the exit status: 0 when nothing differs, 1 when
/// something does or the file is malformed, 2 when file or chip cannot be read; a machine without
/// the chip has nothing that differs.
int clock(const std::string& configuration);

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
