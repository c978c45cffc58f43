/// How the unit last restarted.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

#include <string>

namespace os::bsp {

/// The cause of the last restart. Units of platform Qor4 read it from the first register of
/// "top.sys_ctrl0"; the value may then be one that ResetType does not name. TK8851_4 units of other
/// platforms take it from the marker file "/tmp/restart_cold", Cold when it is there, else Warm.
/// Any other unit is Cold.
///
/// The first definite answer is kept as long as the process. Unknown means that the register cannot
/// be read, or says so itself; the next call tries again. May be called from any thread, without a
/// lock.
BSP_EXPORT ResetType getResetType();

/// The name of `type`, "EndOfList" for a value without one.
BSP_EXPORT std::string resetTypeToString(const ResetType& type);

} // namespace os::bsp
