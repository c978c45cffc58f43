/// The unit's radio-link mode: a setting in the unit's configuration store, which outlasts
/// restarts.
///
/// Every function here may be called from any thread; the store orders simultaneous accesses by
/// several processes.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

namespace os::bsp {

/// The mode that the store had at the first call in this process: Rl5 if it said so, Rl4 in every
/// other case. Only the first call reads the store; calls during it wait. If the store throws
/// (std::system_error if the value exists and cannot be read), the exception reaches the caller,
/// and the next call reads again. Throws std::system_error if a lock cannot be taken.
BSP_EXPORT RadiolinkMode getRadiolinkMode();

/// Stores the mode. Processes that have already read it, this one included, keep their value; the
/// others see the new one. False if the store refuses it. Also false, with a level-1 message and
/// the store untouched, if the mode is neither Rl4 nor Rl5.
BSP_EXPORT bool setRadiolinkMode(RadiolinkMode mode);

/// Removes the mode from the store, which then means Rl4. Processes that have already read it keep
/// their value. True also if there was none; false if the store refuses.
BSP_EXPORT bool clearRadiolinkMode();

} // namespace os::bsp
