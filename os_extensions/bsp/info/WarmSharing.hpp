/// Lock, mutexes and users of the warm database, which processes share: only looked at.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace bspinfo {

/// What is known of the lock: the name of each thing, and its state.
std::vector<std::pair<const char*, std::string>> describeLock();

/// The state of each cell's mutex; none, with the reason in `problem`, when they cannot be read.
std::vector<std::string> describeMutexes(std::string& problem);

/// The processes that have the warm area, its mutexes or the run record mapped, in a line.
std::string describeUsers();

} // namespace bspinfo
