/// How the unit last restarted.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

#include <string>

namespace os::bsp {

/// The cause of the last restart. Where it comes from depends on the unit:
/// - platform Qor4: the first register of the device "top.sys_ctrl0". Its word is passed on, and
///   may be no value of ResetType. Unknown when there is no such device, or it cannot be read.
/// - otherwise product TK8851_4: Cold when the file "/tmp/restart_cold" is there, else Warm.
/// - any other unit: Cold.
///
/// The first answer but Unknown is kept as long as the process; after Unknown the next call looks
/// again. May be called from any thread. No lock orders callers that come first at once: they look
/// each for themselves, and one answer is kept for all. Throws what getPlatformType() throws, and
/// std::bad_alloc.
BSP_EXPORT ResetType getResetType();

/// The name of `type` in resetTypeNames(), "EndOfList" for a value without one. Never fails.
BSP_EXPORT std::string resetTypeToString(const ResetType& type);

} // namespace os::bsp
