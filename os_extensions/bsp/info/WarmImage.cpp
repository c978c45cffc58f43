#include "WarmImage.hpp"

#include "FileDescriptor.hpp"
#include "Printable.hpp"
#include "WarmSlot/SlotLayout.hpp"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <set>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace bspinfo {

using namespace os::bsp;
using namespace os::bsp::dtcm;
using std::to_string;

namespace {

struct Problem {
    const char* text;
    std::string blocks; // their numbers; empty if there is no such problem
};

std::string joined(std::initializer_list<Problem> problems) {
    std::string text;
    for (const Problem& problem : problems) {
        if (!problem.blocks.empty()) {
            text += (text.empty() ? "" : "; ") + std::string(problem.text) + problem.blocks;
        }
    }
    return text;
}

// Looks for the mutex's kind at its offset on the unit and at that on 64-bit machines: dumps come
// from both.
bool hasMutex(const Block& block) {
    constexpr std::size_t Places[] = {16, 24};
    constexpr auto Own = offsetof(SlotLayout, mutex) + offsetof(pthread_mutex_t, __data.__kind);
    static_assert(Own == Places[sizeof(pthread_mutex_t) == 24 ? 0 : 1]);
    return std::any_of(std::begin(Places), std::end(Places), [&](std::size_t place) {
        int kind = 0;
        std::memcpy(&kind, block.data + place, sizeof kind);
        return kind == SharedMutexKind;
    });
}

Answer describeSlot(const Block& block) {
    SlotLayout slot{};
    std::memcpy(&slot, block.data, sizeof slot);
    if (!slot.isInitialised()) {
        return unknown("its mutex is not initialised");
    }
    if (!hasMutex(block)) {
        return unknown("its mutex is noise");
    }
    Answer answer = known(to_string(slot.slotId), slot.slotId);
    answer.evidence = slot.slotId == SlotNotSet ? "not set" : "";
    return answer;
}

bool isInitialised(const WarmArea& area) {
    return std::none_of(std::begin(area.blocks), std::end(area.blocks), [](const Block& block) {
        return kindOf(block) == BlockKind::Noise;
    });
}

} // namespace

Mapping mapForReading(const std::string& path, std::size_t size) {
    const auto file =
        posix::FileDescriptor::own(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!file || fstat(file.get(), &status) == -1) {
        const int error = errno;
        return {nullptr, path + ": " + std::strerror(error), error != ENOENT};
    }
    if (S_ISREG(status.st_mode) && status.st_size != static_cast<off_t>(size)) {
        return {
            nullptr, path + " has " + to_string(status.st_size) + " bytes, not " + to_string(size)};
    }
    void* const memory = mmap(nullptr, size, PROT_READ, MAP_SHARED, file.get(), 0);
    if (memory == MAP_FAILED) {
        return {nullptr, path + ": cannot be mapped: " + std::strerror(errno)};
    }
    return {memory, ""};
}

std::string_view nameOf(const Block& block) {
    return {block.name, strnlen(block.name, sizeof block.name)};
}

BlockKind kindOf(const Block& block) {
    const std::string_view name = nameOf(block);
    const std::string_view behind(block.name + name.size(), sizeof block.name - name.size());
    const bool sound = !behind.empty() &&
                       behind.find_first_not_of('\0') == std::string_view::npos &&
                       std::all_of(name.begin(), name.end(), isPrintable);
    return block.name[0] == '\0' ? BlockKind::Free : sound ? BlockKind::Used : BlockKind::Noise;
}

std::string problemOf(const WarmArea& area) {
    std::string noise;
    std::string behindFree;
    std::string twice;
    std::set<std::string_view> names;
    bool freeSeen = false;
    for (const Block& block : area.blocks) {
        const BlockKind kind = kindOf(block);
        const std::string number = " " + to_string(&block - area.blocks + 1);
        noise += kind == BlockKind::Noise ? number : "";
        behindFree += kind != BlockKind::Free && freeSeen ? number : "";
        twice += kind == BlockKind::Used && !names.insert(nameOf(block)).second ? number : "";
        freeSeen = freeSeen || kind == BlockKind::Free;
    }
    return joined({
        {"noise for a name:", noise},
        {"used behind a free block:", behindFree},
        {"name of an earlier block:", twice},
    });
}

const Block* findObject(const WarmArea& area, std::string_view name) {
    for (const Block& block : area.blocks) {
        if (kindOf(block) == BlockKind::Free) {
            break; // the layer's scan ends here, too
        }
        if (kindOf(block) == BlockKind::Used && nameOf(block) == name) {
            return &block;
        }
    }
    return nullptr;
}

Answer slotId(const WarmArea& area) {
    if (const Block* const block = findObject(area, SlotObjectName)) {
        return describeSlot(*block);
    }
    return unknown(
        isInitialised(area) ? "no process has asked for it" : "the area is not initialised");
}

} // namespace bspinfo
