#pragma once

#include "WarmDatabase/Layout.hpp"

#include <string>

namespace bspinfo {

/// The slot id that a warm area holds, or why there is none.
std::string slotId(const os::bsp::dtcm::WarmArea& area);

} // namespace bspinfo
