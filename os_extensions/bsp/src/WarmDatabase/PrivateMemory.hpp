#pragma once

#include "Layout.hpp"

/// Zero-filled memory of this process alone, in place of an area that cannot be shared. There is
/// always some: where none can be mapped, a static area of the process is given.
namespace os::bsp::dtcm::private_memory {

std::byte* makeWarmArea();
std::byte* makeSyncArea();

/// Unmaps a warm area, be it shared or private; a static one stays.
void releaseWarmArea(std::byte* memory);

} // namespace os::bsp::dtcm::private_memory
