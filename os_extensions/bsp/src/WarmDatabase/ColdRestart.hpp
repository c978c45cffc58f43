/// The cold restart that may have begun this system run: the area is noise then, and is cleared
/// once.
#pragma once

#include "DatabaseLock.hpp"
#include "Layout.hpp"
#include "bsp/ResetType.hpp"

namespace os::bsp::dtcm::cold_restart {

/// The area of this process, and whether it is the unit's. A private one says nothing about that:
/// without the unit's own, this process leaves the duty to others. To be called once, first.
void useArea(std::byte* memory, bool shared);

/// Notes that the area may have to be cleared. From here on nobody works with it before somebody
/// has seen to that, even if this process is killed or has no memory for more.
void noteDue();

/// Clears the area if `cause` says so and nobody has done it in this run, gives `hold` back, and
/// reports.
void handle(ResetType cause, const DatabaseLock::Hold& hold, const WarmDatabase& database);

/// Takes the database lock; sees to a cold restart before that if it is still due. What fails in
/// that is reported, and left to the next.
void lock(DatabaseLock::Hold& hold, const WarmDatabase& database);

} // namespace os::bsp::dtcm::cold_restart
