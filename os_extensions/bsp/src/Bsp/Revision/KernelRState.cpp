#include "Archive.hpp"
#include "CoreLog.hpp"
#include "FileDescriptor.hpp"
#include "LinuxVersion.hpp"
#include "Stream.hpp"
#include "bsp/Bsp.h"

#include <cerrno>

#include <fcntl.h>

namespace {

using os::bsp::coreLog;
using posix::FileDescriptor;
using posix::Stream;

constexpr std::size_t RStateSize = 8;
constexpr const char* TemporaryFile = "/dev/shm/zImage_tmp";

// Another call may create the file between the two steps; it cannot go on doing that.
constexpr int CreationAttempts = 1000;

FileDescriptor createTemporaryFile() {
    for (int attempt = 0; attempt < CreationAttempts; ++attempt) {
        if (unlink(TemporaryFile) == -1 && errno != ENOENT) {
            break;
        }
        FileDescriptor file = FileDescriptor::own(
            open(TemporaryFile, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (file || errno != EEXIST) {
            return file;
        }
    }
    return FileDescriptor();
}

// The name is removed at once, so that a process that is killed leaves nothing behind and calls
// that overlap each have a file of their own.
Stream openTemporaryFile() {
    FileDescriptor file = createTemporaryFile();
    if (!file) {
        return nullptr;
    }
    unlink(TemporaryFile);
    Stream stream(fdopen(file.get(), "w+"));
    if (stream != nullptr) {
        file.release();
    }
    return stream;
}

bool seek(const FileDescriptor& image, off_t offset) {
    return lseek(image.get(), offset, SEEK_SET) == offset;
}

} // namespace

int Bsp_getKernelRState(const char* fileName, char* buffer, size_t size) {
    BSP_LOG_ENTER(coreLog(), "(", "fileName ? fileName : \"(null)\"=", fileName, ")");
    if (size < RStateSize) {
        BSP_LOG(coreLog(), 1, "Invalid buffer size: ", size);
        return -1;
    }
    if (fileName == nullptr) {
        BSP_LOG(coreLog(), 1, "Undefined filename");
        return -1;
    }
    if (buffer == nullptr) {
        BSP_LOG(coreLog(), 1, "Undefined buffer");
        return -1;
    }
    const FileDescriptor image = FileDescriptor::own(open(fileName, O_RDONLY | O_CLOEXEC));
    if (!image) {
        BSP_LOG(coreLog(), 1, "Could not open file: ", fileName);
        return -1;
    }
    if (!seek(image, 0)) {
        BSP_LOG(coreLog(), 1, "lseek(zImage, 0, SEEK_SET) failed for ", fileName);
        return -1;
    }
    const int offset = Bsp_findArchive(image.get());
    if (offset == -1) {
        return -1;
    }
    if (!seek(image, offset)) {
        BSP_LOG(coreLog(), 1, "lseek(zImage, ", offset, ", SEEK_SET) failed for ", fileName);
        return -1;
    }
    const Stream inflated = openTemporaryFile();
    if (inflated == nullptr) {
        BSP_LOG(coreLog(), 1, "Could not open tmp file: ", TemporaryFile);
        return -1;
    }
    if (Bsp_inflateArchive(image.get(), inflated.get()) != 0) {
        return -1;
    }
    BSP_LOG(coreLog(), 5, "Bsp_inflateArchive() successful");
    if (Bsp_findLinuxVersion(inflated.get(), buffer) == nullptr) {
        BSP_LOG(coreLog(), 1, "No Linux version found");
        return -1;
    }
    return 0;
}
