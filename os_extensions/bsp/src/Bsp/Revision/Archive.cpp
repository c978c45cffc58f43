#include "Revision.hpp"

#include "Log.hpp"

#include <array>
#include <cstring>
#include <memory>
#include <new>

#include <zlib.h>

using os::bsp::coreLog;

namespace {

constexpr std::size_t ScanSize = 65536;

// The first bytes of a gzip member: its identification, and deflate as the method.
constexpr char Marker[] = "\x1f\x8b\x08";

using Chunk = std::array<unsigned char, 16384>;

// A window of 32 KiB (15); zlib detects a gzip or zlib header by itself (+ 32).
constexpr int WindowBits = 15 + 32;

/// Owns zlib's state.
class Inflater {
public:
    Inflater() : m_initialised(inflateInit2(&m_stream, WindowBits)) {}
    ~Inflater() { inflateEnd(&m_stream); }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    /// The result of inflateInit2().
    int initialised() const { return m_initialised; }

    void setInput(Chunk& chunk, std::size_t size) {
        m_stream.next_in = chunk.data();
        m_stream.avail_in = static_cast<uInt>(size);
    }

    /// Fills `chunk` as far as the input goes. Returns the result of inflate().
    int inflateInto(Chunk& chunk) {
        m_stream.next_out = chunk.data();
        m_stream.avail_out = static_cast<uInt>(chunk.size());
        return inflate(&m_stream, Z_NO_FLUSH);
    }

    std::size_t unfilled() const { return m_stream.avail_out; }

private:
    z_stream m_stream{};
    int m_initialised;
};

// Any other result, except the end of the stream, is no failure: inflate() wants more input.
bool isFailure(int result) {
    return result == Z_NEED_DICT || result == Z_DATA_ERROR || result == Z_MEM_ERROR;
}

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
    BSP_LOG(coreLog(), 5, "ZLIB header found at pos ", os::bsp::hex(offset));
    return offset;
}

int Bsp_inflateArchive(int fd, std::FILE* out) {
    BSP_LOG_ENTER(coreLog(), "(", "fd=", fd, ")");
    Chunk input;
    Chunk output;
    Inflater inflater;
    if (inflater.initialised() != Z_OK) {
        BSP_LOG(coreLog(), 1, "inflateInit2() failed with error ", inflater.initialised());
        return -1;
    }
    int result = Z_OK;
    while (result != Z_STREAM_END) {
        const ssize_t count = Bsp_readHelper(fd, input.data(), input.size());
        if (count == -1) {
            BSP_LOG(coreLog(), 1, "Read failed with errno = ", std::strerror(errno));
            return -1;
        }
        if (count == 0) {
            BSP_LOG(coreLog(), 4, "End-of-file reached");
            return -1;
        }
        inflater.setInput(input, static_cast<std::size_t>(count));
        do {
            result = inflater.inflateInto(output);
            if (isFailure(result)) {
                BSP_LOG(coreLog(), 1, "inflate() failed with error ", result);
                return -1;
            }
            const std::size_t have = output.size() - inflater.unfilled();
            if (std::fwrite(output.data(), 1, have, out) < have || std::ferror(out) != 0) {
                BSP_LOG(coreLog(), 1, "fwrite() failed");
                return -1;
            }
        } while (inflater.unfilled() == 0);
    }
    return 0;
}
