#include "bsp/WarmDatabase.hpp"

#include "DDevIo.h"
#include "DatabaseLock.hpp"
#include "DatabaseLog.hpp"
#include "InitError.hpp"
#include "Layout.hpp"
#include "ProcessShared.hpp"
#include "SharedMemory.hpp"
#include "bsp/ResetType.hpp"

#include <cassert>
#include <cerrno>
#include <cstring>

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

namespace os::bsp::dtcm {
namespace {

[[maybe_unused]] const LogModule& logAtStartup = databaseLog();

// What follows belongs to the one instance; it stands here because the class is part of the
// interface.

// A process that is forked later has a copy of the instance, but has made nothing.
pid_t maker = 0;

constinit WarmArea reserveWarmArea{};
constinit SyncArea reserveSyncArea{};

struct DeviceMemory {
    std::byte* memory; // null when it cannot be mapped
    bool opened;
    int error; // of the mapping
};

DeviceMemory mapDevice() {
    const int handle = DDevIo_open(WarmAreaDevice);
    if (handle < 0) {
        return {nullptr, false, 0};
    }
    void* const memory = mmap(
        nullptr, WarmAreaSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_LOCKED,
        DDevIo_getFileDescriptor(handle), 0);
    const int error = errno;
    DDevIo_close(handle);
    return {memory != MAP_FAILED ? static_cast<std::byte*>(memory) : nullptr, true, error};
}

int initialiseSyncArea(std::byte* memory) {
    return initialiseProcessShared(reinterpret_cast<SyncArea*>(memory)->mutexes);
}

void useRunRecord() {
    RunRecord* const record = openRunRecord();
    if (record == nullptr) {
        BSP_LOG(
            databaseLog(), 2, "Warning: no ", RunRecordName,
            ", the death of a process is not noticed, error: ", std::strerror(errno));
    }
    databaseLock().useRecord(record);
}

// What this run's processes have noted about the cold restart; null without a record, or with a
// private area, which says nothing about the unit's own.
std::atomic<ColdRestart>* coldRestartNote(bool areaIsShared) {
    RunRecord* const record = areaIsShared ? databaseLock().record() : nullptr;
    return record != nullptr ? &record->coldRestart : nullptr;
}

// From here on nobody works with the area before somebody has seen to the restart, even if this
// process is killed, or has no memory for more or not the unit's own area.
void noteColdRestartDue() {
    auto unasked = ColdRestart::Unasked;
    if (RunRecord* const record = databaseLock().record(); record != nullptr) {
        record->coldRestart.compare_exchange_strong(unasked, ColdRestart::Due);
    }
}

} // namespace

WarmDatabase& WarmDatabase::getInstance() {
    static WarmDatabase instance;
    return instance;
}

WarmDatabase::WarmDatabase() {
    maker = getpid();
    // A child may come to have that process id, when it is used again or in a namespace of its own.
    pthread_atfork(nullptr, nullptr, [] {
        maker = 0;
        DatabaseLock::forgetHold();
    });
    try {
        memoryMapTheDatabase();
        useRunRecord();
        m_databaseSemaphoreCreated = initDatabaseSemaphore();
        initBlockSynchronization();
    } catch (...) {
        reportCaught(databaseLog(), __func__);
    }
    if (m_mappedMemory == nullptr) {
        m_mappedMemory = makePrivateArea(WarmAreaSize, &reserveWarmArea);
    }
    if (m_blockSync == nullptr) {
        m_blockSync = makePrivateArea(SyncAreaSize, &reserveSyncArea);
    }
}

// Mappings and handles are left to the system: other threads may be using them to the very end.
WarmDatabase::~WarmDatabase() {
    const bool namesAreOurs = getpid() == maker;
    if (m_databaseSemaphoreCreated && namesAreOurs) {
        sem_unlink(DatabaseSemaphoreName);
    }
    if (m_blockSyncCreated && namesAreOurs) {
        shm_unlink(SyncAreaName);
    }
}

void WarmDatabase::memoryMapTheDatabase() {
    const DeviceMemory device = mapDevice();
    const bool shared = device.memory != nullptr;
    m_mappedMemory = shared ? device.memory : makePrivateArea(WarmAreaSize, &reserveWarmArea);
    m_mappedMemoryIsShared = shared;
    if (!device.opened) {
        BSP_LOG(databaseLog(), 1, InitError);
    } else if (!shared) {
        BSP_LOG(databaseLog(), 1, InitError, ", error: ", std::strerror(device.error));
    }
    assert(m_mappedMemory != nullptr);
}

bool WarmDatabase::initDatabaseSemaphore() const {
    using Result = DatabaseLock::Result;
    Result result = Result::TryOther;
    while (result == Result::TryOther) {
        result = databaseLock().openSemaphore();
        if (result == Result::TryOther) {
            noteColdRestartDue();
            const ResetType cause = getResetType(); // not to be asked while the lock is held
            result = databaseLock().makeSemaphore();
            if (result == Result::Done) {
                clearDatabaseIfColdRestart(cause);
                return true;
            }
        }
    }
    if (result == Result::Failed) {
        BSP_LOG(databaseLog(), 1, "error in sem_open error: ", std::strerror(errno));
    }
    return false;
}

// Called with the lock, which it gives back before it logs.
void WarmDatabase::clearDatabaseIfColdRestart(ResetType cause) const {
    auto* const note = coldRestartNote(m_mappedMemoryIsShared);
    const bool cold = cause == ResetType::Cold;
    const bool handled = note != nullptr && *note == ColdRestart::Handled;
    if (cold && !handled) {
        warmArea(m_mappedMemory).clear();
    }
    if (note != nullptr) {
        *note = ColdRestart::Handled;
    }
    databaseLock().give();
    BSP_LOG(
        databaseLog(), 5,
        !cold     ? "WARM restart, leaving database as is."
        : handled ? "COLD restart already handled, leaving database as is."
                  : "COLD restart, clearing database.");
    logNamesOfUsedBlocks();
}

// For a creator of the semaphore that has died, or failed, before it saw to the restart. What fails
// here is left to the next who takes the lock.
void WarmDatabase::catchUpWithColdRestart() const {
    try {
        const ResetType cause = getResetType(); // not to be asked while the lock is held
        databaseLock().take();
        clearDatabaseIfColdRestart(cause);
    } catch (...) {
        reportCaught(databaseLog(), "clearDatabaseIfColdRestart");
    }
}

void WarmDatabase::initBlockSynchronization() {
    SharedObject area =
        openSharedObject(SyncAreaName, SyncAreaSize, MAP_LOCKED, initialiseSyncArea);
    if (area.memory == nullptr) {
        BSP_LOG(databaseLog(), 1, "error in shm_open error: ", std::strerror(errno));
        return;
    }
    area.descriptor.release(); // it stays open
    m_blockSync = area.memory;
    m_blockSyncCreated = area.created;
}

// NOLINTNEXTLINE(readability-make-member-function-const): as callers know it
void WarmDatabase::lock() {
    databaseLock().take();
    auto* const note = coldRestartNote(m_mappedMemoryIsShared);
    const auto noted =
        note != nullptr ? note->load(std::memory_order_relaxed) : ColdRestart::Handled;
    if (noted == ColdRestart::Due) {
        databaseLock().give();
        catchUpWithColdRestart();
        databaseLock().take();
    } else if (noted == ColdRestart::Unasked && DatabaseLock::holdsSemaphore()) {
        *note = ColdRestart::Handled; // by a maker without a record, which lets others in
    }
}

void WarmDatabase::unlock() {
    databaseLock().give();
}

} // namespace os::bsp::dtcm
