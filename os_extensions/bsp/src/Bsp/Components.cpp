#include "bsp/Components.hpp"

#include "CodeTable.hpp"
#include "CoreLog.hpp"
#include "HwCode.hpp"
#include "QorConfig.hpp"
#include "bsp/Bsp.h"

namespace os::bsp {
namespace {

/// An FPGA, and the one in its place when the configuration store names a variant. Without a
/// variant the store is not read.
struct FpgaChoice {
    TrafFpgaType standard;
    std::string_view variant = value::Empty;
    TrafFpgaType ofVariant = TrafFpgaType::EndOfList;
};

namespace variant = value::fpgaVariant;

// clang-format off
constexpr CodeTable<DspType, 5> Dsps = {
    {0, DspType::BCM85650},
    {2, DspType::BCM85655},
    {4, DspType::BCM85651},
};

constexpr CodeTable<FpgaChoice, 9> TrafficFpgas = {
    {0, {TrafFpgaType::Pirlan,  variant::TwoTdm,             TrafFpgaType::Dunvar}},
    {3, {TrafFpgaType::Corvel,  variant::OneTdmRleEqpNoMlhc, TrafFpgaType::Prisk}},
    {4, {TrafFpgaType::Tormel}},
    {5, {TrafFpgaType::Fennic,  variant::TwoTdm,             TrafFpgaType::Fennic2}},
    {6, {TrafFpgaType::Ulvar}},
    {7, {TrafFpgaType::Wendrel}},
    {8, {TrafFpgaType::Gorm,    variant::TwoTdm,             TrafFpgaType::Pell}},
};
// clang-format on

bool isStored(std::string_view fpgaVariant) {
    return QorConfig().getValue(key::FpgaVariant) == fpgaVariant;
}

} // namespace

DspType getDspType() {
    BSP_LOG_ENTER(coreLog(), "()");
    if (const auto* const known = Dsps.find(getHwCode().words[DspWord])) {
        return *known;
    }
    BSP_LOG(coreLog(), 1, "Unknown dspType: ", variantWord(DspWord));
    return DspType::EndOfList;
}

TrafFpgaType getTrafFpgaType() {
    const FpgaChoice* const fpga = TrafficFpgas.find(getHwCode().words[TrafficWord]);
    if (fpga == nullptr) {
        BSP_LOG(coreLog(), 1, "Not supported traffic FPGA: ", variantWord(TrafficWord));
        return TrafFpgaType::EndOfList;
    }
    return !fpga->variant.empty() && isStored(fpga->variant) ? fpga->ofVariant : fpga->standard;
}

SwitchType getSwitchType() {
    BSP_LOG_ENTER(coreLog(), "()");
    return SwitchType::None;
}

} // namespace os::bsp

int Bsp_getDspType() {
    return static_cast<int>(os::bsp::getDspType());
}

int Bsp_getTrafFpgaType() {
    return static_cast<int>(os::bsp::getTrafFpgaType());
}

int Bsp_getSwitchType() {
    return static_cast<int>(os::bsp::getSwitchType());
}
