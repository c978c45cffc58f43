#pragma once

#include <cstdlib>
#include <memory>

namespace posix {

struct MallocDeleter {
    void operator()(void* memory) const noexcept { std::free(memory); }
};

/// Owns memory from malloc(), or from a function that says that free() gives it back.
template <typename T>
using Malloced = std::unique_ptr<T, MallocDeleter>;

} // namespace posix
