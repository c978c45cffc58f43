/// Memory that the processes of one system run share, and its private replacement.
#pragma once

#include "FileDescriptor.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

#include <pthread.h>

namespace os::bsp::dtcm {

struct SharedObject {
    std::byte* memory; // null, with errno set, if it can be neither opened nor created
    bool created;      // by this process
    posix::FileDescriptor descriptor;
};

/// Opens the shared-memory object `name` of `size` bytes, or creates it: `initialise` then fills
/// its memory and returns 0 or an errno value. MAP_LOCKED in `flags` locks it in memory.
///
/// Only an object of exactly this size is finished. A process that finds any other size, because
/// the object is new or its creator was killed, initialises it under a lock of the file, which the
/// system releases if the process dies. So if several processes call at once, one creates the
/// object and all others get it finished.
SharedObject openSharedObject(
    const char* name, std::size_t size, int flags, int (*initialise)(std::byte* memory));

/// Initialises mutexes in shared memory for use between processes, whatever the memory held before.
/// If the owner of a robust mutex dies, the next owner learns of it; an ordinary mutex stays
/// locked. Returns 0, or the errno value.
int initialiseProcessShared(
    std::span<pthread_mutex_t> mutexes, int robustness = PTHREAD_MUTEX_STALLED);

/// The inode number of a shared object's file; 0 without a file. It distinguishes the object from
/// all others that had this name in this system run, because tmpfs uses no number twice.
std::uint32_t fileNumber(const char* file);

/// Zero-filled memory of this process alone, for an area that cannot be shared: mapped, or
/// `reserve` if mapping fails. Never unmapped: other threads may use it until the process ends.
std::byte* makePrivateArea(std::size_t size, void* reserve);

} // namespace os::bsp::dtcm
