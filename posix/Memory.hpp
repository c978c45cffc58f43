#pragma once

#include <cstdlib>
#include <memory>

namespace posix {

struct MallocDeleter {
    void operator()(void* memory) const noexcept { std::free(memory); }
};

/// Owns memory from malloc(), or from a function whose result must be released with free().
template <typename T>
using Malloced = std::unique_ptr<T, MallocDeleter>;

} // namespace posix
