#include "DDevIo.h"

#include "FileDescriptor.hpp"
#include "PlatformRoot.hpp"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr off_t MemorySize = 32768;

bool extendToMemorySize(int fd) {
    struct stat status {};
    if (fstat(fd, &status) == -1) {
        return false;
    }
    const bool tooShort = S_ISREG(status.st_mode) && status.st_size < MemorySize;
    return !tooShort || ftruncate(fd, MemorySize) == 0;
}

} // namespace

int DDevIo_open(const char* name) {
    posix::FileDescriptor device = posix::FileDescriptor::own(
        open(platform::path(std::string("dev/") + name).c_str(), O_RDWR | O_CLOEXEC));
    if (!device || !extendToMemorySize(device.get())) {
        return -errno;
    }
    return device.release();
}

int DDevIo_getFileDescriptor(int handle) {
    return handle;
}

int DDevIo_close(int handle) {
    return close(handle) == 0 ? 0 : -errno;
}
