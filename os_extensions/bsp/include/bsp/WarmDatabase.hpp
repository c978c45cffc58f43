/// The warm database: up to 21 small named objects in memory that survives a warm restart.
///
/// All processes of the unit share the objects. A process continues if part of the database is
/// unusable, after a level-1 message on the trace "Bsp.WarmDatabase". Without the device, its
/// objects are its own, neither shared nor kept. Without the semaphore, the run record's mutex
/// excludes the other processes that use that mutex. Without the sync area, the process has mutexes
/// of its own.
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
/// A name of 1 to 15 bytes other than zero identifies an object. Its size is checked against the
/// maximum but not kept, so the clients of one name must agree on size and format. The data that an
/// operation returns lie in the warm area itself: aligned to 16 bytes, valid as long as the process
/// lives, owned by the area, never to be freed. Only the clients protect them: they lock the
/// object's sync object. Lock a mutex inside an object only by repeated pthread_mutex_trylock(), as
/// the slot id does: if the area is a device's memory, no thread can sleep on the mutex, and the C
/// library ends a process that tries to.
class BSP_EXPORT WarmDatabase {
public:
    /// Holds a semaphore for its lifetime. Does nothing if the semaphore is null or cannot be
    /// waited for. Not re-entrant: a second guard in the same thread waits for ever. This is not
    /// the database lock, which consists of more than its semaphore: see lock().
    class SemLockGuard {
    public:
        explicit SemLockGuard(sem_t* semaphore);
        ~SemLockGuard();
        SemLockGuard(const SemLockGuard&) = delete;
        SemLockGuard& operator=(const SemLockGuard&) = delete;

    private:
        sem_t* m_semaphore;
    };

    /// The process's one instance. The first call connects to the shared objects and creates those
    /// that are missing. The process that creates the semaphore handles a cold restart, once in a
    /// system run, before another process gets the lock. If it cannot map the device, it leaves
    /// that to the first process that can. The call waits for the lock only if the semaphore is
    /// missing, and for a process that is creating the sync area or the run record. A child that is
    /// forked while another thread makes the first call makes its own.
    static WarmDatabase& getInstance();

    WarmDatabase(const WarmDatabase&) = delete;
    WarmDatabase& operator=(const WarmDatabase&) = delete;

    /// Whether name and size keep the limits; if not, logs a level-1 message.
    bool validateObject(const std::string& blockName, unsigned objectSize);

    /// Creates an object of zeroes. If an object has this name already, its data are lost, with a
    /// level-2 message. False, and null data, if the limits are broken or no block is free. Pass
    /// `lockDatabase` false if you hold the lock; the messages are then logged while it is held.
    bool createObject(
        const std::string& blockName, void** data, unsigned objectSize, bool lockDatabase);

    /// Finds an object. False, and null data, if there is none or the limits are broken.
    bool retrieveObject(
        const std::string& blockName, void** data, unsigned objectSize, bool lockDatabase);

    /// The mutex, shared between processes, that belongs to the object's block; null if there is no
    /// such object. The caller holds the lock. The mutex lives as long as the sync area, not as the
    /// object.
    std::mutex* getObjectSyncPointer(const std::string& blockName);

    /// Finds an object, or else creates it, in one step under the lock. If several callers ask for
    /// a name at once, one of them gets `created` true. On failure the result is false and both
    /// pointers are null. No out-parameter may be null; the call writes all of them before it takes
    /// the lock.
    ///
    /// `created` says who created the object, which is all zeroes then, not that it is filled:
    /// another process may read it before its creator has filled it, and a creator that dies leaves
    /// the zeroes to all others. So every client locks the sync object and looks for a marker in
    /// the object. If there is none, the client fills the object and writes the marker last: see
    /// examples/event-log.cpp.
    bool getObjectData(
        const std::string& blockName, void** data, unsigned objectSize, std::mutex** syncObject,
        bool& created);

    /// Take and release the database lock, in the same thread. Not re-entrant. If a holder dies, or
    /// its thread ends, the next process that waits takes the lock over, with a level-2 message; it
    /// waits for a holder that is stopped. lock() clears an area that is still to be cleared after
    /// a cold restart before it returns. unlock() does nothing in a thread that does not hold the
    /// lock, and in a child that was forked while it was held.
    ///
    /// Both log failures of the lock at level 1 once it is free. If a semaphore cannot be opened
    /// again, the run record's mutex alone is the lock; if that mutex cannot be locked, the
    /// semaphore alone.
    void lock();
    void unlock();

    /// Writes a summary of the used blocks as text, never more than `size` bytes with the
    /// terminating zero: it begins no line with fewer than 46 bytes left, and may cut the last
    /// line; 1,100 bytes hold everything. Takes no lock. Returns 0, also for a null buffer,
    /// whatever its size; the flat WarmDatabase_getInfo() refuses that with -1.
    int getInfo(char* buffer, unsigned size);

    /// Also logs the count at level 5. Takes no lock.
    unsigned getNumberOfFreeBlocks() const;

    /// Logs one level-5 message for each used block. Takes no lock.
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
