/// The warm memory and what processes share about it, as it lies: only looked at.
#pragma once

#include "Answers.hpp"
#include "WarmDatabase/Layout.hpp"

#include <string>
#include <string_view>

namespace bspinfo {

/// What the C library notes in an ordinary mutex that processes share.
inline constexpr int SharedMutexKind = 128;

enum class BlockKind { Free, Used, Noise };

/// Memory mapped for the rest of the process, or null and why there is none.
struct Mapping {
    const void* memory;
    std::string problem;
    bool exists = true;
};

/// Maps an object of exactly this size for reading. One of another size is none, or unfinished; a
/// device tells no size. A file that is cut short later ends the process that reads on, with
/// SIGBUS.
Mapping mapForReading(const std::string& path, std::size_t size);

/// The name up to its end, even if that is noise.
std::string_view nameOf(const os::bsp::dtcm::Block& block);

/// A name of a used block has 1 to 15 printable characters, and zeroes behind them.
BlockKind kindOf(const os::bsp::dtcm::Block& block);

/// All that is wrong with the blocks, in a line; empty when they are used from the first on without
/// a gap, each under a name of its own.
std::string problemOf(const os::bsp::dtcm::WarmArea& area);

/// The block that the layer finds under this name; null when there is none.
const os::bsp::dtcm::Block* findObject(const os::bsp::dtcm::WarmArea& area, std::string_view name);

/// The slot id that a warm area holds, be it the unit's or that of a 64-bit machine.
Answer slotId(const os::bsp::dtcm::WarmArea& area);

} // namespace bspinfo
