/// The steps from an image to a revision.
#pragma once

#include <cstddef>
#include <cstdio>

#include <sys/types.h>

/// Reads `count` bytes from `fd` to `buffer`; continues after short reads and repeats interrupted
/// ones. Returns the number of bytes read, which is less than `count` only at the end of the file,
/// or -1 with errno set by read(). Holds no state.
ssize_t Bsp_readHelper(int fd, void* buffer, std::size_t count);

/// Offset of the first gzip archive that begins within the first 64 KiB of a kernel image, or -1
/// with the reason in the trace. `fd` is open for reading at offset 0; its position afterwards is
/// undefined.
int Bsp_findArchive(int fd);

/// Inflates the gzip archive at the position of `fd` into `out`, and ignores what follows the
/// archive. Returns 0, or -1 with the reason in the trace if it did not reach the end of the
/// archive; `out` may then hold a part of it. Closes neither, and does not flush `out`.
int Bsp_inflateArchive(int fd, std::FILE* out);

/// Finds the kernel's version banner in the inflated image, and writes the R-state, the fourth part
/// of the release, to `buffer`: at most 7 letters and digits and a zero. Returns `buffer`,
/// unchanged if the banner has no fourth part, or null if there is no banner. It does not find a
/// banner directly after a part of its own marker ("LinuLinux version").
char* Bsp_findLinuxVersion(std::FILE* image, char* buffer);
