#pragma once

#include <string>

namespace keeper {

/// Opens the warm database, and gives lock, mutexes and run record the owner, the group and the
/// read-write bits of the warm area's device: exactly those who may write the area may then use its
/// lock. At no moment do they have wider rights than the device.
///
/// The result says what is missing: an object that is not the shared one, or whose rights may not
/// be changed. It is empty when all is well.
std::string shareDatabase();

} // namespace keeper
