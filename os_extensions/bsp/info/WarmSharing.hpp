/// Reports the lock, the mutexes and the users of the warm database, and changes nothing in them.
#pragma once

#include "Answers.hpp"

#include <string>
#include <vector>

namespace bspinfo {

/// The lock, the progress of its owner with the semaphore, the semaphore, and the cold restart.
Answers describeLock();

/// The state of each block's mutex. Empty, with the reason in `problem`, if the mutexes do not
/// exist or cannot be read.
std::vector<std::string> describeMutexes(Answer& problem);

/// The processes that have the warm area, its mutexes or the run record mapped.
Answer describeUsers();

} // namespace bspinfo
