#pragma once

#include "Unit.hpp"

#include <string>
#include <string_view>

#include <zlib.h>

/// Images as kernels' build systems make them.
namespace test::images {

inline std::string deflated(std::string_view content, int windowBits = 15 + 16) {
    z_stream stream{};
    deflateInit2(&stream, 1, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY);
    std::string archive(deflateBound(&stream, content.size()) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(archive.data());
    stream.avail_out = static_cast<uInt>(archive.size());
    deflate(&stream, Z_FINISH);
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

/// A kernel of `size` incompressible bytes without a letter, the banner behind them.
inline std::string kernel(const std::string& release, std::size_t size = 100000) {
    std::string content = unit::noise(size);
    for (char& byte : content) {
        byte = static_cast<char>(byte & 0x3f);
    }
    return content + "Linux version " + release + " #1 SMP\n";
}

} // namespace test::images
