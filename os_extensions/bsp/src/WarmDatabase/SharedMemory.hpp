/// Memory that the processes of one system run share, and what stands in its place.
#pragma once

#include "FileDescriptor.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

#include <pthread.h>

namespace os::bsp::dtcm {

struct SharedObject {
    std::byte* memory; // null, with errno set, when it can be neither opened nor made
    bool created;      // by this process
    posix::FileDescriptor descriptor;
};

/// Opens the shared-memory object `name` of `size` bytes, or makes it: `initialise` fills its
/// memory then, and returns 0 or an error number. MAP_LOCKED in `flags` locks it in memory.
///
/// Only an object of exactly this size is finished. Whoever finds any other size, be it new or left
/// behind by a maker that was killed, makes it, under a lock of the file that ends with its owner.
/// So of all processes that ask at once, one makes the object, and all others get it finished.
SharedObject openSharedObject(
    const char* name, std::size_t size, int flags, int (*initialise)(std::byte* memory));

/// Initialises mutexes in shared memory for use between processes; what the memory held before does
/// not matter. A robust mutex tells its next owner when the last one has died, an ordinary one
/// stays locked. 0, or the error number.
int initialiseProcessShared(
    std::span<pthread_mutex_t> mutexes, int robustness = PTHREAD_MUTEX_STALLED);

/// The inode number of a shared object's file; 0 without a file. It tells the object from all
/// others that have had the same name in this system run, since tmpfs gives no number twice.
std::uint32_t fileNumber(const char* file);

/// Zero-filled memory of this process alone, in place of an area that cannot be shared: mapped, or
/// where that fails, `reserve`. Never given back: other threads may use it to the very end.
std::byte* makePrivateArea(std::size_t size, void* reserve);

} // namespace os::bsp::dtcm
