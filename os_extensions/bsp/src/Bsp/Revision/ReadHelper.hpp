#pragma once

#include <cstddef>

#include <sys/types.h>

/// Reads `count` bytes from `fd` to `buffer`: short reads are completed, interrupted ones repeated.
/// Returns the number of bytes read, fewer than `count` only at the end of the file, or -1 with
/// errno set by read(). Holds no state.
ssize_t Bsp_readHelper(int fd, void* buffer, std::size_t count);
