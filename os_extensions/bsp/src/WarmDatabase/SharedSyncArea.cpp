#include "SharedSyncArea.hpp"

#include "FileDescriptor.hpp"
#include "Log.hpp"
#include "ProcessShared.hpp"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace os::bsp::dtcm {
namespace {

using posix::FileDescriptor;

// The object has this size while its creator works on it; only its exact size marks it finished.
constexpr off_t UnfinishedSize = SyncAreaSize + 1;

FileDescriptor openObject() {
    FileDescriptor object = FileDescriptor::own(shm_open(SyncAreaName, O_RDWR, 0));
    return object ? std::move(object)
                  : FileDescriptor::own(shm_open(SyncAreaName, O_CREAT | O_RDWR, 0666));
}

bool lockObject(int object) {
    while (flock(object, LOCK_EX) == -1) {
        if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

// Allocated for good: on a full file system this is an error here, not a signal later.
bool allocate(int object) {
    if (ftruncate(object, UnfinishedSize) == -1) {
        return false;
    }
    do {
        errno = posix_fallocate(object, 0, UnfinishedSize);
    } while (errno == EINTR);
    return errno == 0;
}

std::byte* mapObject(int object) {
    void* const memory =
        mmap(nullptr, SyncAreaSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_LOCKED, object, 0);
    return memory != MAP_FAILED ? static_cast<std::byte*>(memory) : nullptr;
}

bool finish(int object, std::byte* memory) {
    initialiseProcessShared(reinterpret_cast<SyncArea*>(memory)->mutexes);
    return ftruncate(object, SyncAreaSize) == 0;
}

} // namespace

SharedSyncArea openSharedSyncArea() {
    FileDescriptor object = openObject();
    struct stat status {};
    if (!object || !lockObject(object.get()) || fstat(object.get(), &status) == -1) {
        return {nullptr, false};
    }
    const bool create = status.st_size != static_cast<off_t>(SyncAreaSize);
    if (create && !allocate(object.get())) {
        return {nullptr, false};
    }
    std::byte* const memory = mapObject(object.get());
    if (memory == nullptr) {
        return {nullptr, false};
    }
    if (create && !finish(object.get(), memory)) {
        const ErrnoGuard errnoOfFinishing;
        munmap(memory, SyncAreaSize);
        return {nullptr, false};
    }
    // The descriptor stays open, so the lock does not go with it.
    flock(object.release(), LOCK_UN);
    return {memory, create};
}

} // namespace os::bsp::dtcm
