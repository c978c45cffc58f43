#include "bsp/WarmDatabase.hpp"

#include "ColdRestart.hpp"
#include "DDevIo.h"
#include "DatabaseLog.hpp"
#include "InitError.hpp"
#include "Layout.hpp"
#include "ProcessShared.hpp"
#include "SharedMemory.hpp"

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

// Of the lock that this thread has taken with lock().
constinit thread_local DatabaseLock::Hold held;

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

DatabaseLock::Result makeSemaphore(const WarmDatabase& database) {
    cold_restart::noteDue();
    const ResetType cause = getResetType(); // not to be asked while the lock is held
    DatabaseLock::Hold hold;
    const auto result = databaseLock().makeSemaphore(hold);
    if (result == DatabaseLock::Result::Done) {
        cold_restart::handle(cause, hold, database);
    }
    return result;
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
    cold_restart::useArea(m_mappedMemory, shared);
    if (!device.opened) {
        BSP_LOG(databaseLog(), 1, InitError);
    } else if (!shared) {
        BSP_LOG(databaseLog(), 1, InitError, ", error: ", std::strerror(device.error));
    }
    assert(m_mappedMemory != nullptr);
}

bool WarmDatabase::initDatabaseSemaphore() const {
    using Result = DatabaseLock::Result;
    Result opened = Result::TryOther;
    Result made = Result::TryOther;
    while (opened == Result::TryOther && made == Result::TryOther) {
        opened = databaseLock().openSemaphore();
        if (opened == Result::TryOther) {
            made = makeSemaphore(*this);
        }
    }
    if (opened == Result::Failed || made == Result::Failed) {
        BSP_LOG(databaseLog(), 1, "error in sem_open error: ", std::strerror(errno));
    }
    return made == Result::Done;
}

void WarmDatabase::initBlockSynchronization() {
    SharedObject area = openSharedObject(SyncAreaName, SyncAreaSize, initialiseSyncArea);
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
    cold_restart::lock(held, *this);
}

void WarmDatabase::unlock() {
    const DatabaseLock::Hold hold = held;
    databaseLock().give(hold);
    report(hold);
}

} // namespace os::bsp::dtcm
