#pragma once

/// Whether the cold restart that began this system run has been handled. A marker in shared memory
/// tells it, which holds the kernel's boot id: a process that creates the database semaphore anew
/// later in the run must not clear the area again.
namespace os::bsp::dtcm::cold_restart {

bool isHandled();
void markHandled();

} // namespace os::bsp::dtcm::cold_restart
