#include "RunRecord.hpp"

#include "ProcessShared.hpp"
#include "SharedMemory.hpp"

namespace os::bsp::dtcm {
namespace {

int initialise(std::byte* memory) {
    auto* const record = new (memory) RunRecord{};
    return initialiseProcessShared({&record->mutex, 1}, PTHREAD_MUTEX_ROBUST);
}

} // namespace

RunRecord* openRunRecord() {
    const SharedObject object = openSharedObject(RunRecordName, sizeof(RunRecord), 0, initialise);
    return reinterpret_cast<RunRecord*>(object.memory);
}

} // namespace os::bsp::dtcm
