#include "ColdRestart.hpp"
#include "DDevIo.h"
#include "DatabaseLog.hpp"
#include "InitError.hpp"
#include "Layout.hpp"
#include "PrivateMemory.hpp"
#include "SharedSyncArea.hpp"
#include "bsp/ResetType.hpp"

#include <cassert>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

namespace os::bsp::dtcm {
namespace {

[[maybe_unused]] const LogModule& logAtStartup = databaseLog();

// These two belong to the instance; they stand here because the class is part of the interface.

// A process that is forked later has a copy of the instance, but has made nothing.
pid_t maker = 0;

// A private area says nothing about the unit's own.
bool areaIsShared = false;

struct DeviceMemory {
    std::byte* memory; // null, with errno set, when it cannot be mapped
    bool opened;
};

DeviceMemory mapDevice() {
    const int handle = DDevIo_open(WarmAreaDevice);
    if (handle < 0) {
        return {nullptr, false};
    }
    void* const memory = mmap(
        nullptr, WarmAreaSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_LOCKED,
        DDevIo_getFileDescriptor(handle), 0);
    const ErrnoGuard errnoOfMapping;
    DDevIo_close(handle);
    return {memory != MAP_FAILED ? static_cast<std::byte*>(memory) : nullptr, true};
}

// Null, with errno set, when the semaphore can be neither created nor opened. One that exists may
// be opened also where none could be created, as on a full file system.
sem_t* createSemaphore(bool& created) {
    while (true) {
        sem_t* semaphore = sem_open(DatabaseSemaphoreName, O_CREAT | O_EXCL, 0666, 0);
        created = semaphore != SEM_FAILED;
        if (created) {
            return semaphore;
        }
        const int creationError = errno;
        semaphore = sem_open(DatabaseSemaphoreName, 0);
        if (semaphore != SEM_FAILED) {
            return semaphore;
        }
        const bool goneInBetween = creationError == EEXIST && errno == ENOENT;
        if (!goneInBetween) {
            errno = creationError != EEXIST ? creationError : errno;
            return nullptr;
        }
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
    pthread_atfork(nullptr, nullptr, [] { maker = 0; });
    try {
        memoryMapTheDatabase();
        if (initDatabaseSemaphore()) {
            const SemLockGuard heldSinceCreation(m_databaseSemaphore, std::adopt_lock);
            clearDatabaseIfColdRestart();
        }
        initBlockSynchronization();
    } catch (...) {
        reportCaught(databaseLog(), __func__);
    }
    if (m_mappedMemory == nullptr) {
        m_mappedMemory = private_memory::makeWarmArea();
    }
    if (m_blockSync == nullptr) {
        m_blockSync = private_memory::makeSyncArea();
    }
}

WarmDatabase::~WarmDatabase() {
    private_memory::releaseWarmArea(m_mappedMemory);
    if (m_databaseSemaphore != nullptr) {
        sem_close(m_databaseSemaphore);
    }
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
    areaIsShared = device.memory != nullptr;
    if (areaIsShared) {
        m_mappedMemory = device.memory;
    } else {
        const ErrnoGuard errnoOfMapping;
        m_mappedMemory = private_memory::makeWarmArea();
    }
    if (!device.opened) {
        BSP_LOG(databaseLog(), 1, InitError);
    } else if (!areaIsShared) {
        BSP_LOG(databaseLog(), 1, InitError, ", error: ", std::strerror(errno));
    }
    assert(m_mappedMemory != nullptr);
}

bool WarmDatabase::initDatabaseSemaphore() {
    m_databaseSemaphore = createSemaphore(m_databaseSemaphoreCreated);
    if (m_databaseSemaphore == nullptr) {
        BSP_LOG(databaseLog(), 1, "error in sem_open error: ", std::strerror(errno));
    }
    return m_databaseSemaphoreCreated;
}

void WarmDatabase::clearDatabaseIfColdRestart() {
    if (getResetType() != ResetType::Cold) {
        BSP_LOG(databaseLog(), 5, "WARM restart, leaving database as is.");
    } else if (areaIsShared && cold_restart::isHandled()) {
        BSP_LOG(databaseLog(), 5, "COLD restart already handled, leaving database as is.");
    } else {
        BSP_LOG(databaseLog(), 5, "COLD restart, clearing database.");
        std::memset(m_mappedMemory, 0, WarmAreaSize);
        if (areaIsShared) {
            cold_restart::markHandled();
        }
    }
    logNamesOfUsedBlocks();
}

void WarmDatabase::initBlockSynchronization() {
    const SharedSyncArea area = openSharedSyncArea();
    if (area.memory == nullptr) {
        BSP_LOG(databaseLog(), 1, "error in shm_open error: ", std::strerror(errno));
        m_blockSync = private_memory::makeSyncArea();
        return;
    }
    m_blockSync = area.memory;
    m_blockSyncCreated = area.created;
}

} // namespace os::bsp::dtcm
