#include "bsp/WarmDatabase.hpp"

#include "DDevIo.h"
#include "DatabaseLock.hpp"
#include "Layout.hpp"
#include "Log.hpp"
#include "SharedMemory.hpp"
#include "bsp/ResetType.hpp"

#include <cassert>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

namespace os::bsp::dtcm {
namespace {

// State of the singleton that is kept out of the public header.

// Shared objects that this process has created. A forked child has a copy of the instance, but has
// created nothing.
struct Created {
    pid_t by;
    std::uint32_t semaphore; // as fileNumber() counts
    std::uint32_t syncArea;
};
constinit Created created{};

constinit WarmArea reserveWarmArea{};
constinit SyncArea reserveSyncArea{};

struct DeviceMemory {
    std::byte* memory; // null if it cannot be mapped
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

int initialiseRunRecord(std::byte* memory) {
    auto* const record = new (memory) RunRecord{};
    return initialiseProcessShared({&record->mutex, 1}, PTHREAD_MUTEX_ROBUST);
}

void useRunRecord() {
    const SharedObject object =
        openSharedObject(RunRecordName, sizeof(RunRecord), 0, initialiseRunRecord);
    auto* const record = reinterpret_cast<RunRecord*>(object.memory);
    if (record == nullptr) {
        BSP_LOG(
            databaseLog(), 2, "Warning: no ", RunRecordName,
            ", the death of a process is not noticed, error: ", std::strerror(errno));
    }
    databaseLock().useRecord(record);
}

} // namespace

// pthread_once(), not a local static: in a child forked while another thread constructs the
// instance, the guard of a local static would never open, while glibc's pthread_once() starts
// again.
WarmDatabase& WarmDatabase::getInstance() {
    static constinit pthread_once_t constructed = PTHREAD_ONCE_INIT;
    alignas(WarmDatabase) static constinit std::byte instance[sizeof(WarmDatabase)]{};
    pthread_once(&constructed, [] {
        new (instance) WarmDatabase;
        std::atexit([] { getInstance().~WarmDatabase(); });
    });
    return *std::launder(reinterpret_cast<WarmDatabase*>(instance));
}

WarmDatabase::WarmDatabase() {
    created.by = getpid();
    // A child could get this process id, once it is free again or in another pid namespace.
    pthread_atfork(nullptr, nullptr, [] { created.by = 0; });
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

// Unlinks what this process has created, unless the name belongs to another object by now. Mappings
// and handles stay for the system to close: other threads may use them until the process ends.
WarmDatabase::~WarmDatabase() {
    if (getpid() != created.by) {
        return;
    }
    if (m_databaseSemaphoreCreated && fileNumber(DatabaseSemaphoreFile) == created.semaphore) {
        sem_unlink(DatabaseSemaphoreName);
    }
    if (m_blockSyncCreated && fileNumber(SyncAreaFile) == created.syncArea) {
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
    Result result = databaseLock().openSemaphore();
    while (result == Result::TryOther) {
        const ResetType cause = getResetType(); // calls the platform: not while the lock is held
        result = databaseLock().makeSemaphore();
        if (result == Result::Done) {
            created.semaphore = databaseLock().number();
            clearDatabaseIfColdRestart(cause);
            return true;
        }
        result = result == Result::TryOther ? databaseLock().openSemaphore() : result;
    }
    if (result == Result::Failed) {
        BSP_LOG(databaseLog(), 1, "error in sem_open error: ", std::strerror(errno));
    }
    return false;
}

// The caller holds the lock; this releases it before it logs. A private area is as empty as a
// cleared one, but a process that has one leaves a cold restart pending for a process with the
// unit's area.
void WarmDatabase::clearDatabaseIfColdRestart(ResetType cause) const {
    RunRecord* const record = databaseLock().record();
    const bool cold = cause == ResetType::Cold;
    const bool handled = record != nullptr && record->coldRestart == ColdRestart::Handled;
    if (cold && !handled) {
        warmArea(m_mappedMemory).clear();
    }
    if (record != nullptr && (m_mappedMemoryIsShared || !cold)) {
        record->coldRestart = ColdRestart::Handled;
    }
    databaseLock().give();
    BSP_LOG(
        databaseLog(), 5,
        !cold     ? "WARM restart, leaving database as is."
        : handled ? "COLD restart already handled, leaving database as is."
                  : "COLD restart, clearing database.");
    logNamesOfUsedBlocks();
}

// If the creator of the semaphore died, or failed, before it handled the restart, this process
// handles it. If that fails, too, the restart stays pending for the next process that takes the
// lock.
void WarmDatabase::catchUpWithColdRestart() const {
    try {
        const ResetType cause = getResetType(); // calls the platform: not while the lock is held
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
    area.descriptor.release(); // the file stays open until the process ends
    m_blockSync = area.memory;
    m_blockSyncCreated = area.created;
    created.syncArea = fileNumber(SyncAreaFile);
}

// NOLINTNEXTLINE(readability-make-member-function-const): const would change the exported symbol
void WarmDatabase::lock() {
    databaseLock().take();
    const RunRecord* const record = m_mappedMemoryIsShared ? databaseLock().record() : nullptr;
    if (record != nullptr &&
        record->coldRestart.load(std::memory_order_relaxed) == ColdRestart::Pending) {
        databaseLock().give();
        catchUpWithColdRestart();
        databaseLock().take();
    }
}

void WarmDatabase::unlock() {
    databaseLock().give();
}

WarmDatabase::SemLockGuard::SemLockGuard(sem_t* semaphore) : m_semaphore(semaphore) {
    if (const int error = semaphore != nullptr ? waitFor(semaphore) : 0; error != 0) {
        BSP_LOG(databaseLog(), 1, "error in sem_wait error: ", std::strerror(error));
        m_semaphore = nullptr;
    }
}

WarmDatabase::SemLockGuard::~SemLockGuard() {
    if (m_semaphore != nullptr) {
        sem_post(m_semaphore);
    }
}

} // namespace os::bsp::dtcm
