#include "bsp/ResetType.hpp"

#include "DDevIo.hpp"
#include "PthreadMutex.hpp"
#include "ResetSource.hpp"
#include "bsp/Platform.hpp"
#include "bsp/Product.hpp"

#include <atomic>

#include <unistd.h>

namespace os::bsp {
namespace {

constexpr const char* RegisterDevice = "top.sys_ctrl0";
constexpr unsigned ResetTypeRegister = 0;

constinit std::atomic<ResetType> knownType = ResetType::Unknown;

ResetType determine() {
    switch (resetSource()) {
    case ResetSource::Register:
        return static_cast<ResetType>(
            readResetRegister().value_or(static_cast<unsigned int>(ResetType::Unknown)));
    case ResetSource::Marker:
        return isMarkedCold() ? ResetType::Cold : ResetType::Warm;
    default:
        return ResetType::Cold;
    }
}

} // namespace

ResetSource resetSource() {
    if (getPlatformType() == PlatformType::Qor4) {
        return ResetSource::Register;
    }
    return getProductId() == ProductId::TK8851_4 ? ResetSource::Marker : ResetSource::None;
}

std::optional<unsigned int> readResetRegister() {
    const auto device = DDevIo::Factory::getInstance().createUnique(
        RegisterDevice, std::make_unique<DDevIo::PthreadMutex>(DDevIo::PthreadMutexType{}));
    auto* const registers = dynamic_cast<DDevIo::Device<unsigned int>*>(device.get());
    unsigned int value = 0;
    if (registers == nullptr || !registers->read(ResetTypeRegister, value)) {
        return std::nullopt;
    }
    return value;
}

bool isMarkedCold() {
    return access(ColdRestartMarker, F_OK) == 0;
}

ResetType getResetType() {
    ResetType type = knownType.load(std::memory_order_relaxed);
    if (type == ResetType::Unknown) {
        const ResetType determined = determine();
        // If another thread was first, its answer stands.
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
