#pragma once

#include "WarmDatabase/Layout.hpp"

#include <string>

namespace bspinfo {

/// The slot id that a warm area holds, be it the unit's or that of a 64-bit machine; or why there
/// is none.
std::string slotId(const os::bsp::dtcm::WarmArea& area);

} // namespace bspinfo
