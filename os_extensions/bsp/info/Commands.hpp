/// What bspinfo can be asked for.
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
    std::string saved;  // the new file that the warm area goes to as well; empty for none
    std::string object; // the name of the one object to dump; empty for the whole warm area
    std::span<char* const> operands;
};

struct Report {
    Answers answers;
    int status; // the exit status
};

/// Prints a line for each field: its name and what it is.
void listFields();

bool isField(std::string_view name);

/// The fields that the operands name, or all of them. All of them are a report whose exit status
/// is 0, or 2 when one is unreadable.
Report identify(const Request& request);

/// The revisions of kernel and boot loader in the images that the operands name, or in the unit's
/// own when there is no operand: a boot loader's is product and R-state. Another image of a kind
/// has a number behind its name.
Report software(const Request& request);

/// Checks a configuration file of the clock chip and compares it with the chip. The exit status is
/// 0 when nothing differs or there is no chip, 1 when something differs or the file is malformed, 2
/// when file or chip cannot be read.
Report clock(const Request& request);

/// The warm area of the unit, with what processes share about it, or a dump of one. The exit status
/// is 0 when the blocks are whole, 1 when they are not, or have no object of the wanted name, 2
/// when something cannot be read. Throws std::system_error when the file cannot be written.
Report warm(const Request& request);

} // namespace bspinfo
