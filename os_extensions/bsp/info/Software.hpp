#pragma once

#include "Answer.hpp"

#include <span>

namespace bspinfo {

/// The revisions of kernel and boot loader in these images, or in the unit's own where there is no
/// image: a boot loader's is product and R-state. Another image of a kind has a number behind its
/// name.
Answers softwareRevisions(std::span<char* const> images);

} // namespace bspinfo
