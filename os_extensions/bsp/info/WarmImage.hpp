/// The warm memory and what processes share about it, as it lies: only looked at.
#pragma once

#include "WarmDatabase/Layout.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace bspinfo {

enum class Cell { Free, Used, Noise };

inline constexpr const char* WarmDevice = "/dev/top.dtcm0";

/// A copy of what `path` holds, a device that can be mapped or a dump of one; empty, with the
/// reason in `problem`, when it cannot be read or is no warm area.
std::vector<std::byte> readWarmArea(const std::string& path, std::string& problem);

/// The name up to its end, be it noise.
std::string_view nameOf(const os::bsp::dtcm::Block& block);

/// A name of a used block has 1 to 15 printable characters, and zeroes behind them.
Cell kindOf(const os::bsp::dtcm::Block& block);

/// What is wrong with the run of used blocks; empty when it is whole.
std::string problemOf(const os::bsp::dtcm::WarmArea& area);

/// A file of at least this size, mapped for reading for the rest of the process; null, with errno
/// set, when it is not there or may not be read.
const void* mapForReading(const std::string& path, std::size_t size);

} // namespace bspinfo
