/// The unit's radio-link mode: a setting in the unit's configuration store, which outlasts
/// restarts.
///
/// Every function here may be called from any thread; the store orders what processes do at once.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

namespace os::bsp {

/// The mode that the store had at the first call in this process: Rl5 when it said so, Rl4 in every
/// other case. The store is read once; callers that come meanwhile wait. What the store throws
/// (std::system_error when the value is there and cannot be read) reaches the caller, and the next
/// call reads again. Throws std::system_error when a lock cannot be taken.
BSP_EXPORT RadiolinkMode getRadiolinkMode();

/// Stores the mode. A process whose getRadiolinkMode() has answered, this one too, goes on with its
/// answer; the others see the new one. False when the store refuses it; also, with a level-1
/// message and the store left alone, when it is neither Rl4 nor Rl5.
BSP_EXPORT bool setRadiolinkMode(RadiolinkMode mode);

/// Removes the mode from the store, which then stands for Rl4; who has asked already goes on as
/// above. True also when there was none, false when the store refuses.
BSP_EXPORT bool clearRadiolinkMode();

} // namespace os::bsp
