/// Which image file belongs to an FPGA.
#pragma once

#include "bsp/export.h"

namespace os::bsp {

/// The path of the image, relative to the directory where images are kept; `key` is an FPGA's code
/// name in lower case, or "pci", and must not be null. Null for any other key. The text is constant
/// and lives as long as the process. May be called from any thread.
BSP_EXPORT char const* getFpgaPath(char const* key);

} // namespace os::bsp
