#include "e2prom.h"

#include "FileDescriptor.hpp"
#include "PlatformRoot.hpp"

#include <cerrno>
#include <cstring>

namespace {

constexpr std::size_t DataSize = 8;

std::string sectionPath(int device, int section) {
    return platform::path(
        "var/lib/qor/e2prom/" + std::to_string(device) + "/" + std::to_string(section));
}

} // namespace

int e2prom_data_read(int device, int section, unsigned char* buffer) {
    const auto file = posix::FileDescriptor::own(
        open(sectionPath(device, section).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file) {
        return errno;
    }
    // Read only what is needed: on the bus of a real EEPROM each byte takes a third of a
    // millisecond.
    unsigned char data[DataSize];
    const ssize_t count = TEMP_FAILURE_RETRY(read(file.get(), data, sizeof data));
    if (count == -1) {
        return errno;
    }
    if (count < static_cast<ssize_t>(sizeof data)) {
        return EIO;
    }
    std::memcpy(buffer, data, sizeof data);
    return 0;
}
