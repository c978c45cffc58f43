#pragma once

#include <string>

namespace bspinfo {

/// Checks a configuration file of the clock chip and tells, register by register, what the chip has
/// otherwise, if it can be read. The result is the exit status: 0 when nothing differs, 1 when
/// something does or the file is malformed, 2 when file or chip cannot be read; a machine without
/// the chip has nothing that differs.
int clock(const std::string& configuration);

} // namespace bspinfo
