#include "SharedMemory.hpp"

#include "File.hpp"
#include "FileLock.hpp"
#include "Log.hpp"

#include <cerrno>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace os::bsp::dtcm {
namespace {

using posix::FileDescriptor;

FileDescriptor openOrCreate(const char* name) {
    return posix::openOrCreate([&](int flags) { return shm_open(name, flags | O_RDWR, 0666); });
}

bool isFinished(const FileDescriptor& object, std::size_t size) {
    struct stat status {};
    return fstat(object.get(), &status) == 0 && status.st_size == static_cast<off_t>(size);
}

// Allocates the memory now: on a full file system this fails here, instead of with SIGBUS at a
// later access.
bool allocate(const FileDescriptor& object, off_t size) {
    if (ftruncate(object.get(), size) == -1) {
        return false;
    }
    do {
        errno = posix_fallocate(object.get(), 0, size);
    } while (errno == EINTR);
    return errno == 0;
}

std::byte* map(const FileDescriptor& object, std::size_t size, int flags) {
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | flags, object.get(), 0);
    return memory != MAP_FAILED ? static_cast<std::byte*>(memory) : nullptr;
}

// While the object is being initialised it is one byte larger; its exact size, which marks it as
// finished, comes last.
std::byte* make(
    const FileDescriptor& object, std::size_t size, int flags,
    int (*initialise)(std::byte* memory)) {
    const auto finishedSize = static_cast<off_t>(size);
    const bool allocated = allocate(object, finishedSize + 1);
    std::byte* const memory = allocated ? map(object, size, flags) : nullptr;
    if (memory == nullptr) {
        return nullptr;
    }
    errno = initialise(memory);
    if (errno == 0 && ftruncate(object.get(), finishedSize) == 0) {
        return memory;
    }
    const ErrnoGuard errnoOfFinishing;
    munmap(memory, size);
    return nullptr;
}

} // namespace

SharedObject openSharedObject(
    const char* name, std::size_t size, int flags, int (*initialise)(std::byte* memory)) {
    FileDescriptor object = openOrCreate(name);
    if (!object) {
        return {nullptr, false, std::move(object)};
    }
    if (isFinished(object, size)) {
        std::byte* const memory = map(object, size, flags);
        return {memory, false, std::move(object)};
    }
    const posix::FileLock lock(object.get());
    if (!lock) {
        return {nullptr, false, std::move(object)};
    }
    const bool create = !isFinished(object, size);
    std::byte* const memory =
        create ? make(object, size, flags, initialise) : map(object, size, flags);
    return {memory, create, std::move(object)};
}

int initialiseProcessShared(std::span<pthread_mutex_t> mutexes, int robustness) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, robustness);
    int error = 0;
    for (pthread_mutex_t& mutex : mutexes) {
        error = error != 0 ? error : pthread_mutex_init(&mutex, &attributes);
    }
    pthread_mutexattr_destroy(&attributes);
    return error;
}

std::uint32_t fileNumber(const char* file) {
    struct stat status {};
    return stat(file, &status) == 0 ? static_cast<std::uint32_t>(status.st_ino) : 0;
}

std::byte* makePrivateArea(std::size_t size, void* reserve) {
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return static_cast<std::byte*>(memory != MAP_FAILED ? memory : reserve);
}

} // namespace os::bsp::dtcm
