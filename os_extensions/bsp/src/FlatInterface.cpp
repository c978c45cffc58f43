/// Implements Bsp.h, except Bsp_boardIdMap (BoardId.cpp), Bsp_getQorHwVariant (HwCode.cpp), the
/// names (Vocabulary.cpp) and the C-only functions (KernelRState.cpp, UbootProductInfo.cpp,
/// IdtWriter.cpp).
#include "Log.hpp"
#include "bsp/BoardId.hpp"
#include "bsp/Bsp.h"
#include "bsp/Components.hpp"
#include "bsp/Counts.hpp"
#include "bsp/FpgaPath.hpp"
#include "bsp/Platform.hpp"
#include "bsp/Product.hpp"
#include "bsp/RadiolinkMode.hpp"
#include "bsp/ResetType.hpp"
#include "bsp/WarmDatabase.hpp"
#include "bsp/WarmSlot.hpp"

namespace {

using os::bsp::databaseLog;
using os::bsp::dtcm::WarmDatabase;

template <class Enumeration>
int asInt(Enumeration value) {
    return static_cast<int>(value);
}

int asResult(bool success) {
    return success ? 0 : -1;
}

// Returns the result of the operation, or -1 if it throws.
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

// Returns 0, or -1 if the operation fails or throws, or if the name is null.
template <class Operation>
int run(const char* function, const char* blockName, void** data, Operation operation) {
    *data = nullptr;
    if (blockName == nullptr) {
        BSP_LOG_AT(databaseLog(), 1, __LINE__, function, "Undefined object name");
        return -1;
    }
    return guarded(
        function, [&] { return asResult(operation(WarmDatabase::getInstance(), blockName)); });
}

} // namespace

int Bsp_getProductId() {
    return asInt(os::bsp::getProductId());
}

int Bsp_getHwRevision() {
    return asInt(os::bsp::getHwRevision());
}

int Bsp_getBoardId() {
    return os::bsp::getBoardId();
}

const char* Bsp_getBoardIdText() {
    return os::bsp::getBoardIdText();
}

const char* Bsp_getLatestBoardIdText() {
    return os::bsp::getLatestBoardIdText();
}

int Bsp_getPlatformType() {
    return asInt(os::bsp::getPlatformType());
}

int Bsp_getTrafficBackplane() {
    return asInt(os::bsp::getTrafficBackplane());
}

int Bsp_getControlBackplane() {
    return asInt(os::bsp::getControlBackplane());
}

int Bsp_getDspType() {
    return asInt(os::bsp::getDspType());
}

int Bsp_getTrafFpgaType() {
    return asInt(os::bsp::getTrafFpgaType());
}

int Bsp_getSwitchType() {
    return asInt(os::bsp::getSwitchType());
}

unsigned Bsp_getNumberOfChannels() {
    return os::bsp::getNumberOfChannels();
}

unsigned Bsp_getNumberOfRlt() {
    return os::bsp::getNumberOfRadiolinks();
}

int Bsp_getRadiolinkMode() {
    return asInt(os::bsp::getRadiolinkMode());
}

int Bsp_setRadiolinkMode(RadiolinkMode mode) {
    return asResult(os::bsp::setRadiolinkMode(mode));
}

int Bsp_clearRadiolinkMode() {
    return asResult(os::bsp::clearRadiolinkMode());
}

const char* Bsp_getFpgaPath(const char* key) {
    return os::bsp::getFpgaPath(key);
}

int Bsp_getResetType() {
    return asInt(os::bsp::getResetType());
}

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

int Bsp_getSlotId() {
    return os::bsp::slotInstance().get();
}

void Bsp_setSlotId(int slotId) {
    os::bsp::slotInstance().set(slotId);
}
