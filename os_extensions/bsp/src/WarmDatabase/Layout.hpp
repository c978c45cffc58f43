/// The layout of the memory that all processes share and that outlives them: a contract between
/// processes and across restarts.
#pragma once

#include "bsp/WarmDatabase.hpp"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include <pthread.h>

namespace os::bsp::dtcm {

inline constexpr const char* WarmAreaDevice = "top.dtcm0";
inline constexpr const char* SyncAreaName = "/DtcmSync";
inline constexpr const char* DatabaseSemaphoreName = "/DtcmDbSharedSem";

// The files in which the C library keeps these shared objects.
inline constexpr const char* SyncAreaFile = "/dev/shm/DtcmSync";
inline constexpr const char* DatabaseSemaphoreFile = "/dev/shm/sem.DtcmDbSharedSem";

inline constexpr std::size_t WarmAreaSize = 32768;
inline constexpr std::size_t BlockSize = 1536;
inline constexpr std::size_t BlockNameSize = 16;

/// One object. If the first byte of the name is 0, the block is free. After a restart of unknown
/// kind the name may be noise: no reader looks beyond its 16 bytes, or expects a zero in them.
///
/// Names are written under the database lock, but the diagnostics read them without it. So writers
/// and diagnostics access them as atomic bytes.
struct Block {
    char name[BlockNameSize];
    std::byte data[MaxObjectSize];

    bool isFree() { return nameByte(0).load(std::memory_order_acquire) == '\0'; }

    std::string copyName() {
        std::string text;
        for (std::size_t i = 0; i < BlockNameSize; ++i) {
            const char byte = nameByte(i).load(std::memory_order_acquire);
            if (byte == '\0') {
                break;
            }
            text += byte;
        }
        return text;
    }

    /// The object appears in one step: the first byte of the name comes last, so a process that is
    /// killed before it leaves the block free. The caller holds the lock; `text` has 1 to 15 bytes.
    void become(std::string_view text) {
        std::fill(std::begin(data), std::end(data), std::byte{0});
        for (std::size_t i = BlockNameSize - 1; i > 0; --i) {
            nameByte(i).store(i < text.size() ? text[i] : '\0', std::memory_order_relaxed);
        }
        nameByte(0).store(text.front(), std::memory_order_release);
    }

    void becomeFree() { nameByte(0).store('\0', std::memory_order_release); }

private:
    std::atomic_ref<char> nameByte(std::size_t index) { return std::atomic_ref(name[index]); }
};

struct WarmArea {
    Block blocks[MaxNumberOfBlocks];
    std::byte unused[WarmAreaSize - MaxNumberOfBlocks * BlockSize];

    /// Frees all blocks before it clears any data.
    void clear() {
        for (Block& block : blocks) {
            block.becomeFree();
        }
        std::memset(static_cast<void*>(this), 0, sizeof *this);
    }
};

static_assert(std::is_standard_layout_v<WarmArea>);
static_assert(sizeof(Block) == BlockSize && offsetof(Block, data) == BlockNameSize);
static_assert(sizeof(WarmArea) == WarmAreaSize && offsetof(WarmArea, unused) == 32256);
static_assert(BlockNameSize == MaxBlockNameLength + 1);

/// The sync objects: number i belongs to block i.
struct SyncArea {
    pthread_mutex_t mutexes[MaxNumberOfBlocks];
};

inline constexpr std::size_t SyncAreaSize = sizeof(SyncArea);

// Clients lock a pthread_mutex_t in the area as a std::mutex.
static_assert(sizeof(std::mutex) == sizeof(pthread_mutex_t));
static_assert(sizeof(pthread_mutex_t) != 24 || SyncAreaSize == 504);

inline WarmArea& warmArea(std::byte* memory) {
    return *reinterpret_cast<WarmArea*>(memory);
}

} // namespace os::bsp::dtcm
