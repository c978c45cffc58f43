#include "e2prom.h"

#include "FileDescriptor.hpp"
#include "PlatformRoot.hpp"

#include <cerrno>
#include <cstring>

#include <fcntl.h>

namespace {

constexpr std::size_t DataSize = 8;

std::string sectionPath(int device, int section) {
    return platform::path(
        "var/lib/qor/e2prom/" + std::to_string(device) + "/" + std::to_string(section));
}

} // namespace

int e2prom_data_read(int device, int section, unsigned char* buffer) {
    const posix::FileDescriptor file = posix::FileDescriptor::own(
        open(sectionPath(device, section).c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) {
        return errno;
    }
    unsigned char data[DataSize];
    std::size_t filled = 0;
    while (filled < DataSize) {
        const ssize_t count = read(file.get(), data + filled, DataSize - filled);
        if (count == 0) {
            return EIO;
        }
        if (count == -1 && errno != EINTR) {
            return errno;
        }
        filled += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    std::memcpy(buffer, data, DataSize);
    return 0;
}
