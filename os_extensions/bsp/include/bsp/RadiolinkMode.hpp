/// The unit's radio-link mode, a setting in the unit's configuration store.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

namespace os::bsp {

/// The mode as the store had it at the first call in this process: Rl5 when it said so, Rl4 in
/// every other case. May be called from any thread. What the store throws reaches the caller, and
/// the next call tries again; std::system_error when the once-only machinery fails.
BSP_EXPORT RadiolinkMode getRadiolinkMode();

/// Stores the mode for processes that ask later; this one goes on with what it has. False when the
/// store did not accept it, or when it is neither Rl4 nor Rl5 (a level-1 message).
BSP_EXPORT bool setRadiolinkMode(RadiolinkMode mode);

/// Removes the mode from the store, likewise. False when the store did not.
BSP_EXPORT bool clearRadiolinkMode();

} // namespace os::bsp
