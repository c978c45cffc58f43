#include "DatabaseLog.hpp"
#include "Layout.hpp"

#include <cstring>

namespace os::bsp::dtcm {
namespace {

/// Where the scan for a name ends: at its block, at the first free block, or behind the last.
struct Place {
    std::size_t index;
    bool found;

    bool exists() const { return index < MaxNumberOfBlocks; }
    std::size_t number() const { return index + 1; } // as people count blocks
};

bool hasZero(const std::string& name) {
    return name.find('\0') != std::string::npos;
}

/// A name as a block holds it.
struct NameField {
    explicit NameField(const std::string& name) { name.copy(bytes, MaxBlockNameLength); }
    char bytes[BlockNameSize] = {};
};

// Used blocks form an unbroken run from the first, so no object lies behind a free block.
Place scan(WarmArea& area, const NameField& name) {
    for (std::size_t i = 0; i < MaxNumberOfBlocks; ++i) {
        const char* const present = area.blocks[i].name;
        const bool found = std::memcmp(present, name.bytes, BlockNameSize) == 0;
        if (found || present[0] == '\0') {
            return {i, found};
        }
    }
    return {MaxNumberOfBlocks, false};
}

std::mutex* findSyncObject(std::byte* syncArea, const std::string& name, std::size_t index) {
    BSP_LOG_AT(
        databaseLog(), 5, __LINE__, "getObjectSyncPointer", "Sync object for ", name,
        " found for block ", index + 1);
    return reinterpret_cast<std::mutex*>(syncArea) + index;
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
    Place place{};
    {
        const SemLockGuard guard(lockDatabase ? m_databaseSemaphore : nullptr);
        place = scan(area, NameField(blockName));
        if (place.found) {
            BSP_LOG(
                databaseLog(), 2, "Warning: object for block ", blockName,
                "has been requested to be created, but it was already present in warm area");
        }
        if (place.exists()) {
            area.blocks[place.index].become(blockName);
        }
    }
    if (!place.exists()) {
        BSP_LOG(databaseLog(), 1, "Error: DTCM is out of space.");
        return false;
    }
    BSP_LOG(
        databaseLog(), 5, "Created object ", blockName, " in block ", place.number(),
        ". Size of object is ", objectSize);
    *data = area.blocks[place.index].data;
    return true;
}

bool WarmDatabase::retrieveObject(
    const std::string& blockName, void** data, unsigned objectSize, bool lockDatabase) {
    *data = nullptr;
    if (!validateObject(blockName, objectSize)) {
        return false;
    }
    WarmArea& area = warmArea(m_mappedMemory);
    const NameField name(blockName);
    const SemLockGuard guard(lockDatabase ? m_databaseSemaphore : nullptr);
    const Place place = scan(area, name);
    if (!place.found) {
        return false;
    }
    BSP_LOG(
        databaseLog(), 5, "Retrieved object ", blockName, " from block ", place.number(),
        ". Size of object is ", objectSize);
    *data = area.blocks[place.index].data;
    return true;
}

std::mutex* WarmDatabase::getObjectSyncPointer(const std::string& blockName) {
    if (blockName.empty() || blockName.size() > MaxBlockNameLength || hasZero(blockName)) {
        return nullptr;
    }
    const Place place = scan(warmArea(m_mappedMemory), NameField(blockName));
    return place.found ? findSyncObject(m_blockSync, blockName, place.index) : nullptr;
}

bool WarmDatabase::getObjectData(
    const std::string& blockName, void** data, unsigned objectSize, std::mutex** syncObject,
    bool& created) {
    const SemLockGuard guard(m_databaseSemaphore);
    const bool retrieved = retrieveObject(blockName, data, objectSize, false);
    created = !retrieved && createObject(blockName, data, objectSize, false);
    *syncObject = nullptr;
    if (*data != nullptr) {
        // The data tell the block, so it need not be looked for again.
        const auto offset = static_cast<std::byte*>(*data) - m_mappedMemory;
        *syncObject =
            findSyncObject(m_blockSync, blockName, static_cast<std::size_t>(offset) / BlockSize);
    }
    return *data != nullptr;
}

} // namespace os::bsp::dtcm
