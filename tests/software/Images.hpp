#pragma once

#include "Unit.hpp"

#include <stdexcept>
#include <string>
#include <string_view>

#include <zlib.h>

/// Images as kernels' build systems make them.
namespace test::images {

inline constexpr const char* KernelFile = "/tmp/zImage";

inline std::string deflated(std::string_view content, int windowBits = 15 + 16) {
    z_stream stream{};
    deflateInit2(&stream, 1, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY);
    std::string archive(deflateBound(&stream, content.size()) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(archive.data());
    stream.avail_out = static_cast<uInt>(archive.size());
    if (deflate(&stream, Z_FINISH) != Z_STREAM_END) {
        throw std::runtime_error("deflate");
    }
    archive.resize(stream.total_out);
    deflateEnd(&stream);
    return archive;
}

/// Decompressor code with many first bytes of the marker, and no marker.
inline std::string code(std::size_t size) {
    std::string bytes(size, '\x1f');
    for (std::size_t i = 2; i < size; i += 3) {
        bytes[i] = '\x8b';
    }
    return bytes;
}

inline std::string banner(const std::string& release) {
    return "Linux version " + release + " #1 SMP\n";
}

/// An inflated kernel: incompressible enough to take several chunks, with a banner in it.
inline std::string kernel(const std::string& release, std::size_t size = 100000) {
    std::string content = unit::noise(size);
    for (char& byte : content) {
        byte = static_cast<char>(byte & 0x3f); // no letters
    }
    return content.replace(size / 2, 0, banner(release));
}

} // namespace test::images
