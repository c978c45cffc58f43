#include "WarmImage.hpp"

#include "FileDescriptor.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace bspinfo {

using namespace os::bsp::dtcm;

// Behind the end of a file there would be a signal; a device tells no size.
const void* mapForReading(const std::string& path, std::size_t size) {
    const auto file =
        posix::FileDescriptor::own(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!file || fstat(file.get(), &status) == -1) {
        return nullptr;
    }
    if (S_ISREG(status.st_mode) && status.st_size < static_cast<off_t>(size)) {
        errno = ENODATA;
        return nullptr;
    }
    void* const memory = mmap(nullptr, size, PROT_READ, MAP_SHARED, file.get(), 0);
    return memory != MAP_FAILED ? memory : nullptr;
}

std::vector<std::byte> readWarmArea(const std::string& path, std::string& problem) {
    const auto* const memory = static_cast<const std::byte*>(mapForReading(path, sizeof(WarmArea)));
    if (memory == nullptr) {
        problem = path + " cannot be read: " + std::strerror(errno);
        return {};
    }
    return {memory, memory + sizeof(WarmArea)};
}

std::string_view nameOf(const Block& block) {
    return {block.name, strnlen(block.name, sizeof block.name)};
}

Cell kindOf(const Block& block) {
    const std::string_view name = nameOf(block);
    const std::string_view behind(block.name + name.size(), sizeof block.name - name.size());
    const bool sound =
        !behind.empty() && behind.find_first_not_of('\0') == std::string_view::npos &&
        std::all_of(name.begin(), name.end(), [](char c) { return c >= ' ' && c <= '~'; });
    return block.name[0] == '\0' ? Cell::Free : sound ? Cell::Used : Cell::Noise;
}

std::string problemOf(const WarmArea& area) {
    std::set<std::string_view> names;
    bool freeSeen = false;
    for (const Block& block : area.blocks) {
        const Cell kind = kindOf(block);
        const std::string cell = "cell " + std::to_string(&block - area.blocks + 1);
        if (kind == Cell::Noise) {
            return cell + " has noise for a name";
        }
        if (kind == Cell::Used && freeSeen) {
            return cell + " is used, but one before it is free";
        }
        if (kind == Cell::Used && !names.insert(nameOf(block)).second) {
            return cell + " has a name that one before it has";
        }
        freeSeen = freeSeen || kind == Cell::Free;
    }
    return "";
}

} // namespace bspinfo
