#include "FileDescriptor.hpp"
#include "Log.hpp"
#include "Memory.hpp"
#include "Revision.hpp"
#include "bsp/Bsp.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>

namespace {

using os::bsp::coreLog;
using posix::FileDescriptor;

/// The bytes of the image, and a zero after them.
struct Image {
    posix::Malloced<char[]> bytes;
    std::size_t size = 0;
};

struct Destination {
    char* text;
    std::size_t size;
};

// All messages carry the name of the public function.
#define UBOOT_LOG(level, ...)                                                                      \
    BSP_LOG_AT(coreLog(), level, __LINE__, "Bsp_getUbootProductInfo", __VA_ARGS__)

Image allocate(std::uint64_t size) {
    const std::uint64_t needed = size + 1;
    Image image;
    if (needed <= SIZE_MAX) {
        image.bytes.reset(static_cast<char*>(std::malloc(static_cast<std::size_t>(needed))));
    }
    if (image.bytes == nullptr) {
        UBOOT_LOG(1, "Failed to allocate ", needed, " bytes");
    }
    return image;
}

// `bytes` is null, and the reason is in the trace, if the device cannot be read.
Image readImage(const FileDescriptor& device, const char* deviceName) {
    const off_t size = lseek(device.get(), 0, SEEK_END);
    if (size == -1) {
        UBOOT_LOG(1, "Failed to get size of ", deviceName, ". errno = ", std::strerror(errno));
        return {};
    }
    if (lseek(device.get(), 0, SEEK_SET) != 0) {
        UBOOT_LOG(1, "Failed to set file offset. errno = ", std::strerror(errno));
        return {};
    }
    Image image = allocate(static_cast<std::uint64_t>(size));
    if (image.bytes == nullptr) {
        return {};
    }
    const ssize_t count =
        Bsp_readHelper(device.get(), image.bytes.get(), static_cast<std::size_t>(size));
    if (count == -1) {
        UBOOT_LOG(1, "Failed to read file. errno = ", std::strerror(errno));
        return {};
    }
    image.size = static_cast<std::size_t>(count);
    image.bytes.get()[image.size] = '\0';
    return image;
}

void copyText(const char* source, const Destination& destination) {
    std::strncpy(destination.text, source, destination.size);
    destination.text[destination.size - 1] = '\0';
}

void copyLine(const char* source, const Destination& destination) {
    copyText(source, destination);
    if (char* const lineFeed = std::strchr(destination.text, '\n')) {
        *lineFeed = '\0';
    }
}

void findValue(
    const Image& image, const char* label, const char* name, const Destination& destination) {
    const char* const bytes = image.bytes.get();
    const void* const found = memmem(bytes, image.size, label, std::strlen(label));
    if (found == nullptr) {
        copyText("Not found", destination);
    } else {
        const auto* const start = static_cast<const char*>(found);
        UBOOT_LOG(6, "\"", label, "\"", " found at offset ", start - bytes);
        copyLine(start + std::strlen(label), destination);
    }
    UBOOT_LOG(5, name, " = ", destination.text);
}

bool isUsable(const Destination& destination) {
    if (destination.text == nullptr) {
        UBOOT_LOG(1, "Undefined buffer");
    } else if (destination.size == 0) {
        UBOOT_LOG(1, "Invalid buffer size: 0");
    }
    return destination.text != nullptr && destination.size > 0;
}

} // namespace

// NOLINTBEGIN(readability-non-const-parameter): the function writes them through a Destination
int Bsp_getUbootProductInfo(
    const char* deviceName, char* productNumber, size_t productNumberSize, char* rState,
    size_t rStateSize) {
    // NOLINTEND(readability-non-const-parameter)
    const Destination product = {productNumber, productNumberSize};
    const Destination revision = {rState, rStateSize};
    if (deviceName == nullptr) {
        UBOOT_LOG(1, "Undefined device name");
        return -1;
    }
    if (!isUsable(product) || !isUsable(revision)) {
        return -1;
    }
    // O_NONBLOCK: opening a FIFO does not wait for its writer, and lseek() then refuses it.
    const FileDescriptor device =
        FileDescriptor::own(open(deviceName, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!device) {
        UBOOT_LOG(
            1, "Failed to open u-boot device with name ", deviceName,
            ". errno = ", std::strerror(errno));
        return -1;
    }
    const Image image = readImage(device, deviceName);
    if (image.bytes == nullptr) {
        return -1;
    }
    UBOOT_LOG(6, "Start parsing for u-boot strings:");
    findValue(image, "Product number: ", "Product number", product);
    findValue(image, "R-state: ", "R-state", revision);
    return 0;
}
