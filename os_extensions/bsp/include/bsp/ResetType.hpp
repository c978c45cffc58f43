/// How the unit last restarted.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

#include <string>

namespace os::bsp {

/// The cause of the last restart. Where it comes from depends on the unit:
/// - platform Qor4: the first register of the device "top.sys_ctrl0". The layer passes on its word,
///   which may be no value of ResetType. Unknown if the device is missing or cannot be read.
/// - otherwise product TK8851_4: Cold if the file "/tmp/restart_cold" exists, else Warm.
/// - any other unit: Cold.
///
/// The process keeps its first answer other than Unknown; after Unknown, the next call looks again.
/// May be called from any thread. No lock orders simultaneous first calls: each of them looks, and
/// all return the same one of their answers. Throws what getPlatformType() throws, and
/// std::bad_alloc.
BSP_EXPORT ResetType getResetType();

/// The name of `type` in resetTypeNames(), "EndOfList" for a value without one. Never fails.
BSP_EXPORT std::string resetTypeToString(const ResetType& type);

} // namespace os::bsp
