#include "bsp/Platform.hpp"

#include "CodeTable.hpp"
#include "HwCode.hpp"
#include "Log.hpp"

namespace os::bsp {
namespace {

// clang-format off
constexpr CodeTable<PlatformType, 2> Platforms = {
    {0, PlatformType::Qor4},
    {1, PlatformType::Qor5},
};

constexpr CodeTable<TrafficBackplaneType, 9> TrafficBackplanes = {
    {0, TrafficBackplaneType::Ptp},
    {3, TrafficBackplaneType::Ethernet},
    {4, TrafficBackplaneType::Ethernet},
    {5, TrafficBackplaneType::Ethernet},
    {6, TrafficBackplaneType::Ethernet},
    {7, TrafficBackplaneType::Ethernet},
    {8, TrafficBackplaneType::Ethernet},
};

constexpr CodeTable<ControlBackplaneType, 3> ControlBackplanes = {
    {0, ControlBackplaneType::Pci},
    {1, ControlBackplaneType::Pcie},
    {2, ControlBackplaneType::Ethernet},
};
// clang-format on

} // namespace

PlatformType getPlatformType() {
    if (const auto* const known = Platforms.find(getHwCode().words[PlatformWord])) {
        return *known;
    }
    BSP_LOG(coreLog(), 1, "Unknown platformType: ", variantWord(PlatformWord));
    return PlatformType::EndOfList;
}

TrafficBackplaneType getTrafficBackplane() {
    if (const auto* const known = TrafficBackplanes.find(getHwCode().words[TrafficWord])) {
        return *known;
    }
    BSP_LOG(coreLog(), 1, "Unknown backplaneType: ", variantWord(TrafficWord));
    return TrafficBackplaneType::EndOfList;
}

ControlBackplaneType getControlBackplane() {
    if (const auto* const known = ControlBackplanes.find(getHwCode().words[ControlBackplaneWord])) {
        return *known;
    }
    BSP_LOG(coreLog(), 1, "Unknown backplaneType: ", variantWord(ControlBackplaneWord));
    return ControlBackplaneType::EndOfList;
}

} // namespace os::bsp
