#pragma once

#include <span>

namespace bspinfo {

int clock(std::span<char* const> arguments);

} // namespace bspinfo
