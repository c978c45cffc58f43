/// Lock, mutexes and users of the warm database, which processes share: only looked at.
#pragma once

#include "Answers.hpp"

#include <string>
#include <vector>

namespace bspinfo {

/// The lock, how far its owner is with the semaphore, the semaphore and the cold restart.
Answers describeLock();

/// The state of each block's mutex; none, with the reason in `problem`, when they are not there or
/// cannot be read.
std::vector<std::string> describeMutexes(Answer& problem);

/// The processes that have the warm area, its mutexes or the run record mapped.
Answer describeUsers();

} // namespace bspinfo
