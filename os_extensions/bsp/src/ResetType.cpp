#include "bsp/ResetType.hpp"

#include "DDevIo.hpp"
#include "PthreadMutex.hpp"
#include "bsp/Platform.hpp"
#include "bsp/Product.hpp"

#include <atomic>

#include <unistd.h>

namespace os::bsp {
namespace {

constexpr const char* RegisterDevice = "top.sys_ctrl0";
constexpr unsigned ResetTypeRegister = 0;
constexpr const char* ColdRestartMarker = "/tmp/restart_cold";

constinit std::atomic<ResetType> knownType = ResetType::Unknown;

ResetType readRegister() {
    const auto device = DDevIo::Factory::getInstance().createUnique(
        RegisterDevice, std::make_unique<DDevIo::PthreadMutex>(DDevIo::PthreadMutexType{}));
    auto* const registers = dynamic_cast<DDevIo::Device<unsigned int>*>(device.get());
    auto value = static_cast<unsigned int>(ResetType::Unknown);
    if (registers != nullptr) {
        registers->read(ResetTypeRegister, value);
    }
    return static_cast<ResetType>(value);
}

ResetType determine() {
    if (getPlatformType() == PlatformType::Qor4) {
        return readRegister();
    }
    if (getProductId() == ProductId::TK8851_4) {
        return access(ColdRestartMarker, F_OK) == 0 ? ResetType::Cold : ResetType::Warm;
    }
    return ResetType::Cold;
}

} // namespace

ResetType getResetType() {
    ResetType type = knownType.load(std::memory_order_relaxed);
    if (type == ResetType::Unknown) {
        const ResetType determined = determine();
        // Where another thread was first, its answer stands.
        if (knownType.compare_exchange_strong(type, determined, std::memory_order_relaxed)) {
            type = determined;
        }
    }
    return type;
}

std::string resetTypeToString(const ResetType& type) {
    return lookupName(resetTypeNames(), type);
}

} // namespace os::bsp
