#pragma once

#include <cstdio>

/// Finds the kernel's version banner in the inflated image that `image` holds, and writes the
/// R-state, the fourth part of the release, to `buffer`: at most 7 letters and digits and a zero.
/// Returns `buffer`, unchanged when the banner has no fourth part; or null when there is no banner.
/// A banner that a part of its marker runs straight into is not found.
char* Bsp_findLinuxVersion(std::FILE* image, char* buffer);
