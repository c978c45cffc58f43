#pragma once

#include <string>

namespace keeper {

/// Opens the warm database, and gives the lock, the mutexes and the run record the owner, the group
/// and the read-write bits of the warm area's device. So exactly those users who may write the area
/// may use its lock. At no moment do the objects have wider rights than the device.
///
/// Returns what is wrong: an object that is not the shared one, or whose rights cannot be changed.
/// Empty if all is well.
std::string shareDatabase();

} // namespace keeper
