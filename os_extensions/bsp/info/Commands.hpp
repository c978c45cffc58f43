/// The commands of bspinfo.
#pragma once

#include "Answers.hpp"

#include <span>
#include <string>
#include <string_view>

namespace bspinfo {

/// What the command line says.
struct Request {
    const Format* format = findFormat("text");
    bool explain = false;
    bool verbose = false;
    std::string saved;  // also write the warm area to this new file; empty for none
    std::string object; // the name of the one object to dump; empty for the whole warm area
    std::span<char* const> operands;
};

struct Report {
    Answers answers;
    int status; // the exit status
};

/// Prints a line for each field: its name and its meaning.
void listFields();

bool isField(std::string_view name);

/// Reports the fields that the operands name. Without operands it reports all fields, and the exit
/// status is 0, or 2 if a field is unreadable.
Report identify(const Request& request);

/// Reports the revisions of kernel and boot loader in the images that the operands name, or without
/// operands in the unit's own. A boot loader's revision is its product and R-state. The second and
/// every later image of one kind has a number after its name.
Report software(const Request& request);

/// Checks a configuration file of the clock chip and compares it with the chip. The exit status is
/// 0 if nothing differs or there is no chip, 1 if something differs or the file is malformed, 2 if
/// file or chip cannot be read.
Report clock(const Request& request);

/// Reports the unit's warm area and its shared objects, or a dump of a warm area. The exit status
/// is 0 if the blocks are whole; 1 if they are not, or if none has the requested name; 2 if
/// something cannot be read. Throws std::system_error if the file cannot be written.
Report warm(const Request& request);

} // namespace bspinfo
