/// Who works with the warm database.
#pragma once

#include <string>

namespace bspinfo {

/// The processes that have the warm area, its mutexes or the run record mapped, in a line.
std::string describeUsers();

/// The number of a process or thread, with its name where it has one.
std::string numberAndName(const std::string& number);

} // namespace bspinfo
