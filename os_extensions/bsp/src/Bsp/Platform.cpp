#include "bsp/Platform.hpp"

#include "CodeLookup.hpp"

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
    return lookUp(
        Platforms, getHwCode().words[PlatformWord],
        {__func__, "Unknown platformType: ", PlatformType::EndOfList}, variantWord(PlatformWord));
}

TrafficBackplaneType getTrafficBackplane() {
    return lookUp(
        TrafficBackplanes, getHwCode().words[TrafficWord],
        {__func__, "Unknown backplaneType: ", TrafficBackplaneType::EndOfList},
        variantWord(TrafficWord));
}

ControlBackplaneType getControlBackplane() {
    return lookUp(
        ControlBackplanes, getHwCode().words[ControlBackplaneWord],
        {__func__, "Unknown backplaneType: ", ControlBackplaneType::EndOfList},
        variantWord(ControlBackplaneWord));
}

} // namespace os::bsp

int Bsp_getPlatformType() {
    return static_cast<int>(os::bsp::getPlatformType());
}

int Bsp_getTrafficBackplane() {
    return static_cast<int>(os::bsp::getTrafficBackplane());
}

int Bsp_getControlBackplane() {
    return static_cast<int>(os::bsp::getControlBackplane());
}
