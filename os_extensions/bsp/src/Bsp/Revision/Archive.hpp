#pragma once

#include <cstdio>

/// Offset of the first gzip archive that begins within the first 64 KiB of a kernel image, or -1
/// with the reason in the trace. `fd` is open for reading at offset 0; its position is left
/// anywhere.
int Bsp_findArchive(int fd);

/// Inflates the gzip archive at the position of `fd` into `out`. 0 when it was inflated to its end,
/// or -1 with the reason in the trace; `out` may hold a part of it then. Neither is closed, and
/// `out` is not flushed. What follows the archive is ignored.
int Bsp_inflateArchive(int fd, std::FILE* out);
