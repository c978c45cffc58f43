/// Which image file belongs to an FPGA.
#pragma once

#include "bsp/Cpp20.hpp"
#include "bsp/export.h"

namespace os::bsp {

/// The path of the FPGA's image, relative to the directory where images are kept.
///
/// `key` is the FPGA's name in trafFpgaTypeNames() in lower case, or "pci"; it is compared whole
/// and byte by byte, and must not be null. Any other key, also the name of an FPGA that no unit
/// has, gives null.
///
/// The text comes from a table of the layer's own: no hardware is asked, and no folder looked into.
/// It is constant and lives as long as the process. May be called from any thread; never throws.
BSP_EXPORT char const* getFpgaPath(char const* key);

} // namespace os::bsp
