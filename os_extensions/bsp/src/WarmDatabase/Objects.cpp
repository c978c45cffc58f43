#include "Layout.hpp"
#include "Log.hpp"
#include "bsp/WarmDatabase.hpp"

#include <array>
#include <cstdint>
#include <cstring>

namespace os::bsp::dtcm {
namespace {

/// Where the scan for a name ends: at its block, at the first free block, or after the last block.
struct Place {
    std::size_t index;
    bool found;

    bool isInArea() const { return index < MaxNumberOfBlocks; }
    std::size_t number() const { return index + 1; } // blocks are counted from 1 in messages
};

// Takes the database lock, unless the caller holds it.
std::unique_lock<WarmDatabase> lockUnless(bool isHeld, WarmDatabase& database) {
    return isHeld ? std::unique_lock(database, std::defer_lock) : std::unique_lock(database);
}

bool hasZero(std::string_view name) {
    return name.find('\0') != std::string_view::npos;
}

/// A name of 1 to 15 bytes as a block holds it, with a terminating zero; what follows that zero in
/// a block does not count. Two words are compared, which is faster than 16 bytes.
class NameField {
public:
    explicit NameField(std::string_view name) {
        name.copy(reinterpret_cast<char*>(m_words.data()), MaxBlockNameLength);
        static constexpr Words OnesThenZeroes[] = {{~0ULL, ~0ULL}, {0, 0}};
        const std::size_t zeroes = MaxBlockNameLength - name.size();
        std::memcpy(
            m_mask.data(), reinterpret_cast<const char*>(OnesThenZeroes) + zeroes, BlockNameSize);
    }

    bool isOf(const Block& block) const {
        Words present;
        std::memcpy(present.data(), block.name, BlockNameSize);
        return ((present[0] ^ m_words[0]) & m_mask[0]) == 0 &&
               ((present[1] ^ m_words[1]) & m_mask[1]) == 0;
    }

private:
    using Words = std::array<std::uint64_t, 2>;
    static_assert(sizeof(Words) == BlockNameSize);

    Words m_words{};
    Words m_mask{};
};

// Used blocks form an unbroken run from the first, so no object follows a free block. noinline:
// when inlined, the 8-byte loads of the name follow the byte stores at once and stall on store
// forwarding.
[[gnu::noinline]] Place scan(WarmArea& area, const NameField& name) {
#pragma GCC unroll 3 // the loop's overhead costs as much as comparing a block
    for (const Block& block : area.blocks) {
        const bool found = name.isOf(block);
        if (found || block.name[0] == '\0') {
            return {static_cast<std::size_t>(&block - area.blocks), found};
        }
    }
    return {MaxNumberOfBlocks, false};
}

// getObjectData() logs under the names of the operations that it combines.

void reportRetrieved(std::string_view name, const Place& place, unsigned objectSize) {
    BSP_LOG_AT(
        databaseLog(), 5, __LINE__, "retrieveObject", "Retrieved object ", name, " from block ",
        place.number(), ". Size of object is ", objectSize);
}

void reportCreated(std::string_view name, const Place& place, unsigned objectSize) {
    if (!place.isInArea()) {
        BSP_LOG_AT(databaseLog(), 1, __LINE__, "createObject", "Error: DTCM is out of space.");
        return;
    }
    BSP_LOG_AT(
        databaseLog(), 5, __LINE__, "createObject", "Created object ", name, " in block ",
        place.number(), ". Size of object is ", objectSize);
}

std::mutex* syncObjectOf(std::byte* syncArea, std::string_view name, const Place& place) {
    BSP_LOG_AT(
        databaseLog(), 5, __LINE__, "getObjectSyncPointer", "Sync object for ", name,
        " found for block ", place.number());
    return reinterpret_cast<std::mutex*>(syncArea) + place.index;
}

} // namespace

bool WarmDatabase::validateObject(const std::string& blockName, unsigned objectSize) {
    if (blockName.empty()) {
        BSP_LOG(databaseLog(), 1, "Error: blockName is empty");
        return false;
    }
    if (blockName.size() > MaxBlockNameLength) {
        BSP_LOG(
            databaseLog(), 1, "Error: blockName ", blockName, " with length ", blockName.size(),
            " is larger than the allowed maximum of ", MaxBlockNameLength);
        return false;
    }
    if (hasZero(blockName)) {
        BSP_LOG(databaseLog(), 1, "Error: blockName contains a zero byte");
        return false;
    }
    if (objectSize > MaxObjectSize) {
        BSP_LOG(
            databaseLog(), 1, "Error: objectSize: ", objectSize,
            " exceeds the maximum size: ", MaxObjectSize);
        return false;
    }
    return true;
}

bool WarmDatabase::createObject(
    const std::string& blockName, void** data, unsigned objectSize, bool lockDatabase) {
    *data = nullptr;
    if (!validateObject(blockName, objectSize)) {
        return false;
    }
    WarmArea& area = warmArea(m_mappedMemory);
    const NameField name(blockName);
    Place place{};
    {
        const auto guard = lockUnless(!lockDatabase, *this);
        place = scan(area, name);
        if (place.isInArea()) {
            area.blocks[place.index].become(blockName);
        }
    }
    if (place.found) {
        // No space before "has": readers of traces know the record in this form.
        BSP_LOG(
            databaseLog(), 2, "Warning: object for block ", blockName,
            "has been requested to be created, but it was already present in warm area");
    }
    reportCreated(blockName, place, objectSize);
    *data = place.isInArea() ? area.blocks[place.index].data : nullptr;
    return place.isInArea();
}

bool WarmDatabase::retrieveObject(
    const std::string& blockName, void** data, unsigned objectSize, bool lockDatabase) {
    *data = nullptr;
    if (!validateObject(blockName, objectSize)) {
        return false;
    }
    WarmArea& area = warmArea(m_mappedMemory);
    const NameField name(blockName);
    Place place{};
    {
        const auto guard = lockUnless(!lockDatabase, *this);
        place = scan(area, name);
    }
    if (!place.found) {
        return false;
    }
    reportRetrieved(blockName, place, objectSize);
    *data = area.blocks[place.index].data;
    return true;
}

std::mutex* WarmDatabase::getObjectSyncPointer(const std::string& blockName) {
    if (blockName.empty() || blockName.size() > MaxBlockNameLength || hasZero(blockName)) {
        return nullptr;
    }
    const Place place = scan(warmArea(m_mappedMemory), NameField(blockName));
    return place.found ? syncObjectOf(m_blockSync, blockName, place) : nullptr;
}

bool WarmDatabase::getObjectData(
    const std::string& blockName, void** data, unsigned objectSize, std::mutex** syncObject,
    bool& created) {
    *data = nullptr;
    *syncObject = nullptr;
    created = false;
    if (!validateObject(blockName, objectSize)) {
        // Retrieval and creation are each refused, so the message is logged twice.
        return validateObject(blockName, objectSize);
    }
    WarmArea& area = warmArea(m_mappedMemory);
    const NameField name(blockName);
    Place place{};
    {
        const std::lock_guard guard(*this);
        place = scan(area, name);
        if (!place.found && place.isInArea()) {
            area.blocks[place.index].become(blockName);
        }
    }
    if (place.found) {
        reportRetrieved(blockName, place, objectSize);
    } else {
        reportCreated(blockName, place, objectSize);
    }
    if (!place.isInArea()) {
        return false;
    }
    created = !place.found;
    *data = area.blocks[place.index].data;
    *syncObject = syncObjectOf(m_blockSync, blockName, place);
    return true;
}

} // namespace os::bsp::dtcm
