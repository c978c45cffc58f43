#pragma once

#include "WarmDatabase/Layout.hpp"

#include <string>

namespace bspinfo {

/// The cells drawn with characters: what is used, free, noise.
std::string drawText(const os::bsp::dtcm::WarmArea& area);

/// The cells as a picture, an SVG document.
std::string drawSvg(const os::bsp::dtcm::WarmArea& area);

} // namespace bspinfo
