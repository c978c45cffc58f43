#pragma once

#include <cstdio>
#include <memory>

namespace posix {

struct StreamCloser {
    void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
};

/// Owns a C stream, which is closed with its owner.
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

} // namespace posix
