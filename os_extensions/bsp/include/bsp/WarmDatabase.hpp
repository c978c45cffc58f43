/// The warm database: up to 21 small named objects in memory that survives a warm restart.
///
/// Every process of the unit that uses it shares the objects. A process continues if part of it is
/// unusable, after a level-1 message on the trace "Bsp.WarmDatabase": without the device its
/// objects are its own, neither shared nor kept; without the semaphore the run record's mutex keeps
/// it apart from the processes that use that as well; without the sync area it has mutexes of its
/// own.
#pragma once

#include "bsp/Cpp20.hpp"
#include "bsp/export.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

#include <semaphore.h>

namespace os::bsp {
enum class ResetType : std::int32_t; // Vocabulary.hpp
}

namespace os::bsp::dtcm {

inline constexpr std::size_t MaxNumberOfBlocks = 21;
inline constexpr std::size_t MaxBlockNameLength = 15; // bytes
inline constexpr std::size_t MaxObjectSize = 1520;    // bytes

/// The process's connection to the database. All operations may be called from any thread.
///
/// An object is known by its name alone, 1 to 15 bytes other than zero; its size is checked against
/// the maximum and not kept, so the clients of one name must agree on size and format. The data
/// that an operation hands out lie in the warm area itself: aligned to 16 bytes, valid as long as
/// the process, owned by the area, never to be freed. Nothing protects them but their clients,
/// who lock the object's sync object. A mutex inside an object may only be tried, with
/// pthread_mutex_trylock(), again and again, as the slot id does: where the area is a device's
/// memory, no thread can sleep on it, and the C library ends the process that tries to.
class BSP_EXPORT WarmDatabase {
public:
    /// Holds a semaphore for its lifetime. A null semaphore, or one that cannot be waited for,
    /// makes it do nothing. Not re-entrant: a second one in the same thread waits for ever. It is
    /// not the database lock, which is more than its semaphore: see lock().
    class SemLockGuard {
    public:
        explicit SemLockGuard(sem_t* semaphore);
        ~SemLockGuard();
        SemLockGuard(const SemLockGuard&) = delete;
        SemLockGuard& operator=(const SemLockGuard&) = delete;

    private:
        sem_t* m_semaphore;
    };

    /// The process's one instance. The first call connects to the shared objects, and creates those
    /// that are missing. The process that creates the semaphore handles a cold restart, once in a
    /// system run, before another gets the lock; without the device it leaves that to the first
    /// process that has it. Waits for the lock only if the semaphore is missing, and for a process
    /// that is creating the sync area or the run record. A child forked while another thread makes
    /// this call makes it itself.
    static WarmDatabase& getInstance();

    WarmDatabase(const WarmDatabase&) = delete;
    WarmDatabase& operator=(const WarmDatabase&) = delete;

    /// Whether name and size keep the limits; a level-1 message when not.
    bool validateObject(const std::string& blockName, unsigned objectSize);

    /// Creates an object of zeroes, also when one of this name is there, whose data are lost then
    /// (a level-2 message). False, and null data, when the limits are broken or no block is free.
    /// `lockDatabase` false is for callers that hold the lock; messages are written under it then.
    bool createObject(
        const std::string& blockName, void** data, unsigned objectSize, bool lockDatabase);

    /// Finds an object. False, and null data, when there is none or the limits are broken.
    bool retrieveObject(
        const std::string& blockName, void** data, unsigned objectSize, bool lockDatabase);

    /// The mutex, shared between processes, that belongs to the object's block; null when there is
    /// no such object. The caller holds the lock. The mutex is as old as the sync area,
    /// not as the object.
    std::mutex* getObjectSyncPointer(const std::string& blockName);

    /// Finds an object, or else creates it, in one step under the lock: of all who ask for a name
    /// at once, one gets `created` true. On failure the result is false, pointers are null. No
    /// out-parameter may be null; all are written before the lock is taken.
    ///
    /// `created` tells who made the object, which is all zeroes then, and not that anybody has
    /// filled it: another process may read it before its creator has filled it, and a creator that
    /// dies leaves the zeroes to everybody. So whoever gets the object looks, with the sync object
    /// locked, whether a marker in it says that it is filled, and else fills it, the marker last:
    /// see examples/event-log.cpp.
    bool getObjectData(
        const std::string& blockName, void** data, unsigned objectSize, std::mutex** syncObject,
        bool& created);

    /// Takes and gives back the database lock, in the same thread. Not re-entrant. If a holder
    /// dies, or its thread ends, the next process that waits takes the lock over, with a level-2
    /// message; one that is stopped is waited for. An area that still has to be cleared after a
    /// cold restart is cleared before lock() returns. unlock() does nothing in a thread that does
    /// not hold the lock, and in a child that was forked while it was held. Both report failures of
    /// the lock at level 1 once it is free: a semaphore that cannot be opened again leaves the run
    /// record's mutex, a mutex that cannot be locked leaves the semaphore.
    void lock();
    void unlock();

    /// Writes a summary of the used blocks as text, never more than `size` bytes with the
    /// terminating zero: no line is begun with fewer than 46 bytes left, and the last one may be
    /// cut; 1,100 bytes hold everything. Returns 0. Takes no lock.
    int getInfo(char* buffer, unsigned size);

    /// Logs the count at level 5, too. Takes no lock.
    unsigned getNumberOfFreeBlocks() const;

    /// One level-5 message a used block. Takes no lock.
    void logNamesOfUsedBlocks() const;

private:
    WarmDatabase();
    ~WarmDatabase();

    void memoryMapTheDatabase();
    bool initDatabaseSemaphore() const;
    void initBlockSynchronization();
    void clearDatabaseIfColdRestart(ResetType cause) const;
    void catchUpWithColdRestart() const;

    std::byte* m_mappedMemory = nullptr;
    std::byte* m_blockSync = nullptr;
    bool m_databaseSemaphoreCreated = false;
    bool m_blockSyncCreated = false;
    bool m_mappedMemoryIsShared = false;
};

} // namespace os::bsp::dtcm
