#include "Archive.hpp"

#include "CoreLog.hpp"
#include "ReadHelper.hpp"

#include <cstring>
#include <memory>
#include <new>

using os::bsp::coreLog;

namespace {

constexpr std::size_t ScanSize = 65536;

// What a gzip member begins with: its identification, and the method deflate.
constexpr char Marker[] = "\x1f\x8b\x08";

} // namespace

int Bsp_findArchive(int fd) {
    BSP_LOG_ENTER(coreLog(), "(", "fd=", fd, ")");
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[ScanSize]);
    if (buffer == nullptr) {
        BSP_LOG(coreLog(), 1, "Failed to allocate ", ScanSize, " bytes");
        return -1;
    }
    const ssize_t count = Bsp_readHelper(fd, buffer.get(), ScanSize);
    if (count <= 0) {
        BSP_LOG(coreLog(), 1, "File error before archive found. read() returned ", count);
        return -1;
    }
    const void* const found =
        memmem(buffer.get(), static_cast<std::size_t>(count), Marker, std::strlen(Marker));
    if (found == nullptr) {
        BSP_LOG(coreLog(), 1, "Couldn't find ZLIB header");
        return -1;
    }
    const int offset = static_cast<int>(static_cast<const char*>(found) - buffer.get());
    BSP_LOG(coreLog(), 5, "ZLIB header found at pos ", {offset, 16});
    return offset;
}
