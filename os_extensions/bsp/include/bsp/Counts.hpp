/// How many traffic channels and radio links the unit has.
///
/// May be called from any thread; nothing is cached. Unknown hardware gets a fallback count and
/// level-1 messages. Throws std::system_error when the once-only identification fails.
#pragma once

#include "bsp/export.h"

#include <cstdint>

namespace os::bsp {

/// 1 or 2, by the unit's product; 1 for an unknown one.
BSP_EXPORT std::uint32_t getNumberOfChannels();

/// 1 or 2, by the traffic type in the unit's hardware code; 2 for an unknown one.
BSP_EXPORT std::uint32_t getNumberOfRadiolinks();

} // namespace os::bsp
