/// Reads the warm area and the shared objects, and changes nothing in them.
#pragma once

#include "Answers.hpp"
#include "WarmDatabase/Layout.hpp"

#include <string>
#include <string_view>

namespace bspinfo {

/// The kind that the C library stores in an ordinary mutex that processes share.
inline constexpr int SharedMutexKind = 128;

enum class BlockKind { Free, Used, Noise };

/// Memory that stays mapped until the process ends; or null and the reason.
struct Mapping {
    const void* memory;
    std::string problem;
    bool exists = true;
};

/// Maps an object of exactly this size for reading. A file of another size is refused: it is no
/// such object, or is unfinished. A device has no size to check. If another process truncates the
/// file later, reading on raises SIGBUS.
Mapping mapForReading(const std::string& path, std::size_t size);

/// The name up to its first zero byte, even if it is noise.
std::string_view nameOf(const os::bsp::dtcm::Block& block);

/// Used if the name has 1 to 15 printable characters and zeroes after them.
BlockKind kindOf(const os::bsp::dtcm::Block& block);

/// All that is wrong with the blocks, in a line. Empty if the used blocks form an unbroken run from
/// the first, each with a name of its own.
std::string problemOf(const os::bsp::dtcm::WarmArea& area);

/// The block that the layer finds under this name; null if there is none.
const os::bsp::dtcm::Block* findObject(const os::bsp::dtcm::WarmArea& area, std::string_view name);

/// The slot id in a warm area of the unit or of a 64-bit machine.
Answer slotId(const os::bsp::dtcm::WarmArea& area);

} // namespace bspinfo
