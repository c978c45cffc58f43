/// The state of the warm database's lock and mutexes, which processes share: only looked at.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <pthread.h>

namespace bspinfo {

/// What the C library notes in an ordinary mutex that processes share.
inline constexpr int SharedMutexKind = 128;

/// What is known of the lock: the name of each thing, and its state.
std::vector<std::pair<const char*, std::string>> describeLock();

/// The state of each cell's mutex; none, with the reason in `problem`, when they cannot be read.
std::vector<std::string> describeMutexes(std::string& problem);

} // namespace bspinfo
