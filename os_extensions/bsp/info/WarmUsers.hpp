/// Who works with the warm database, and who has its lock.
#pragma once

#include <string>

namespace bspinfo {

/// What is known of the lock, in lines.
std::string describeLock();

/// The processes that have the warm area, its mutexes or the run record mapped, in a line.
std::string describeUsers();

/// The state of the mutex that goes with a cell, from 0.
std::string describeMutex(std::size_t cell);

} // namespace bspinfo
