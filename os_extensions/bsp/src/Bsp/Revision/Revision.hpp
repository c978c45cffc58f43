/// The steps from an image to a revision.
#pragma once

#include <cstddef>
#include <cstdio>

#include <sys/types.h>

/// Reads `count` bytes from `fd` to `buffer`: short reads are completed, interrupted ones repeated.
/// Returns the number of bytes read, fewer than `count` only at the end of the file, or -1 with
/// errno set by read(). Holds no state.
ssize_t Bsp_readHelper(int fd, void* buffer, std::size_t count);

/// Offset of the first gzip archive that begins within the first 64 KiB of a kernel image, or -1
/// with the reason in the trace. `fd` is open for reading at offset 0; its position is left
/// anywhere.
int Bsp_findArchive(int fd);

/// Inflates the gzip archive at the position of `fd` into `out`. 0 when it was inflated to its end,
/// or -1 with the reason in the trace; `out` may hold a part of it then. Neither is closed, and
/// `out` is not flushed. What follows the archive is ignored.
int Bsp_inflateArchive(int fd, std::FILE* out);

/// Finds the kernel's version banner in the inflated image that `image` holds, and writes the
/// R-state, the fourth part of the release, to `buffer`: at most 7 letters and digits and a zero.
/// Returns `buffer`, unchanged when the banner has no fourth part; or null when there is no banner.
/// A banner that a part of its marker runs straight into is not found.
char* Bsp_findLinuxVersion(std::FILE* image, char* buffer);
