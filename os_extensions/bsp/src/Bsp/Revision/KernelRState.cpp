#include "FileDescriptor.hpp"
#include "Log.hpp"
#include "Revision.hpp"
#include "Stream.hpp"
#include "bsp/Bsp.h"

#include <cerrno>

#include <fcntl.h>
#include <sched.h>

namespace {

using os::bsp::coreLog;
using posix::FileDescriptor;
using posix::Stream;

constexpr std::size_t RStateSize = 8;
constexpr const char* TemporaryFile = "/dev/shm/zImage_tmp";

// Another call may create the file between unlink() and open(); if it belongs to another user, the
// sticky bit of /dev/shm forbids to unlink it. That call unlinks it at once, so only a file that
// was left behind outlasts this many attempts.
constexpr int CreationAttempts = 1000;

// Unlinks the name at once: a process that is killed leaves nothing behind, and overlapping calls
// each have their own file.
int createTemporaryFile() {
    for (int attempt = 0; attempt < CreationAttempts; ++attempt) {
        if (unlink(TemporaryFile) == -1 && errno != ENOENT && errno != EPERM) {
            return -1;
        }
        const int file =
            open(TemporaryFile, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (file != -1) {
            unlink(TemporaryFile);
            return file;
        }
        if (errno != EEXIST) {
            return -1;
        }
        sched_yield();
    }
    return -1;
}

Stream openTemporaryFile() {
    FileDescriptor file = FileDescriptor::own(createTemporaryFile());
    if (!file) {
        return nullptr;
    }
    Stream stream(fdopen(file.get(), "w+"));
    if (stream != nullptr) {
        file.release();
    }
    return stream;
}

// All messages carry the name of the public function.
#define KERNEL_LOG(level, ...)                                                                     \
    BSP_LOG_AT(coreLog(), level, __LINE__, "Bsp_getKernelRState", __VA_ARGS__)

bool areUsable(const char* fileName, const char* buffer, std::size_t size) {
    if (size < RStateSize) {
        KERNEL_LOG(1, "Invalid buffer size: ", size);
        return false;
    }
    if (fileName == nullptr) {
        KERNEL_LOG(1, "Undefined filename");
        return false;
    }
    if (buffer == nullptr) {
        KERNEL_LOG(1, "Undefined buffer");
        return false;
    }
    return true;
}

bool seek(const FileDescriptor& image, off_t offset) {
    return lseek(image.get(), offset, SEEK_SET) == offset;
}

bool seekArchive(const FileDescriptor& image, const char* fileName) {
    if (!seek(image, 0)) {
        KERNEL_LOG(1, "lseek(zImage, 0, SEEK_SET) failed for ", fileName);
        return false;
    }
    const int offset = Bsp_findArchive(image.get());
    if (offset == -1) {
        return false;
    }
    if (!seek(image, offset)) {
        KERNEL_LOG(1, "lseek(zImage, ", offset, ", SEEK_SET) failed for ", fileName);
        return false;
    }
    return true;
}

// The inflated kernel, or null with the reason in the trace.
Stream inflate(const FileDescriptor& image) {
    Stream inflated = openTemporaryFile();
    if (inflated == nullptr) {
        KERNEL_LOG(1, "Could not open tmp file: ", TemporaryFile);
        return nullptr;
    }
    if (Bsp_inflateArchive(image.get(), inflated.get()) != 0) {
        return nullptr;
    }
    KERNEL_LOG(5, "Bsp_inflateArchive() successful");
    return inflated;
}

} // namespace

int Bsp_getKernelRState(const char* fileName, char* buffer, size_t size) {
    // The record shows this expression as the name of the argument; readers of traces know it in
    // this form.
    BSP_LOG_ENTER(coreLog(), "(", "fileName ? fileName : \"(null)\"=", fileName, ")");
    if (!areUsable(fileName, buffer, size)) {
        return -1;
    }
    // O_NONBLOCK: opening a FIFO does not wait for its writer, and lseek() then refuses it.
    const FileDescriptor image =
        FileDescriptor::own(open(fileName, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!image) {
        KERNEL_LOG(1, "Could not open file: ", fileName);
        return -1;
    }
    if (!seekArchive(image, fileName)) {
        return -1;
    }
    const Stream inflated = inflate(image);
    if (inflated == nullptr) {
        return -1;
    }
    if (Bsp_findLinuxVersion(inflated.get(), buffer) == nullptr) {
        KERNEL_LOG(1, "No Linux version found");
        return -1;
    }
    return 0;
}
