/// Which image file belongs to an FPGA.
#pragma once

#include "bsp/Cpp20.hpp"
#include "bsp/export.h"

namespace os::bsp {

/// The path of the FPGA's image, relative to the directory of images.
///
/// `key` is the FPGA's name in trafFpgaTypeNames() in lower case, or "pci". It is compared byte by
/// byte as a whole, and must not be null. Null for any other key, also for the name of an FPGA that
/// no unit has.
///
/// The text comes from a table in the layer: the function reads no hardware and no directory. It is
/// constant and lives as long as the process. May be called from any thread; never throws.
BSP_EXPORT char const* getFpgaPath(char const* key);

} // namespace os::bsp
