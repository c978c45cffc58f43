#include "DatabaseLog.hpp"
#include "bsp/Bsp.h"
#include "bsp/WarmDatabase.hpp"

namespace {

using os::bsp::dtcm::databaseLog;
using os::bsp::dtcm::WarmDatabase;

// What the operation answers; an exception is a failure, too.
template <class Operation>
int guarded(const char* function, Operation operation) {
    try {
        return operation();
    } catch (const std::exception& exception) {
        BSP_LOG_AT(
            databaseLog(), 1, __LINE__, function, "Caught exception [", exception.what(), "].");
        return -1;
    }
}

// What the operation answers, as 0 or -1; a null name is a failure, too.
template <class Operation>
int run(const char* function, const char* blockName, void** data, Operation operation) {
    *data = nullptr;
    if (blockName == nullptr) {
        BSP_LOG_AT(databaseLog(), 1, __LINE__, function, "Undefined object name");
        return -1;
    }
    return guarded(function, [&] {
        return operation(WarmDatabase::getInstance(), std::string(blockName)) ? 0 : -1;
    });
}

} // namespace

int WarmDatabase_createObject(const char* blockName, void** data, unsigned objectSize) {
    return run(__func__, blockName, data, [&](WarmDatabase& database, const std::string& name) {
        return database.createObject(name, data, objectSize, true);
    });
}

int WarmDatabase_retrieveObject(const char* blockName, void** data, unsigned objectSize) {
    return run(__func__, blockName, data, [&](WarmDatabase& database, const std::string& name) {
        return database.retrieveObject(name, data, objectSize, true);
    });
}

int WarmDatabase_getObjectData(
    const char* blockName, void** data, unsigned objectSize, void** syncObject, bool* created) {
    *created = false;
    return run(__func__, blockName, data, [&](WarmDatabase& database, const std::string& name) {
        std::mutex* mutex = nullptr;
        const bool there = database.getObjectData(name, data, objectSize, &mutex, *created);
        if (there) {
            *syncObject = mutex;
        }
        return there;
    });
}

int WarmDatabase_getInfo(char* buffer, unsigned size) {
    if (buffer == nullptr && size > 0) {
        return -1;
    }
    return guarded(__func__, [&] { return WarmDatabase::getInstance().getInfo(buffer, size); });
}

int Bsp_createDtcmObject(const char* blockName, void** data, unsigned objectSize) {
    return WarmDatabase_createObject(blockName, data, objectSize);
}

int Bsp_retrieveDtcmObject(const char* blockName, void** data, unsigned objectSize) {
    return WarmDatabase_retrieveObject(blockName, data, objectSize);
}

int Bsp_getDtcmObjectData(
    const char* blockName, void** data, unsigned objectSize, void** syncObject, bool* created) {
    return WarmDatabase_getObjectData(blockName, data, objectSize, syncObject, created);
}
