#include "e2prom.h"

#include "File.hpp"
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
    const auto content = posix::readFile(sectionPath(device, section));
    if (!content) {
        return errno;
    }
    if (content->size() < DataSize) {
        return EIO;
    }
    std::memcpy(buffer, content->data(), DataSize);
    return 0;
}
