#pragma once

#include <span>

namespace bspinfo {

int warm(std::span<char* const> arguments);

} // namespace bspinfo
