#include "bsp/Components.hpp"

#include "CodeTable.hpp"
#include "HwCode.hpp"
#include "Log.hpp"
#include "QorConfig.hpp"
#include "bsp/Counts.hpp"
#include "bsp/Product.hpp"

namespace os::bsp {
namespace {

/// The standard FPGA for a code, and the one that replaces it if the configuration store has this
/// variant. Without a variant, the store is not read.
struct FpgaChoice {
    TrafFpgaType standard;
    std::string_view variant = value::Empty;
    TrafFpgaType ofVariant = TrafFpgaType::EndOfList;
};

namespace variant = value::fpgaVariant;

constexpr std::int32_t codeOf(ProductId product) {
    return static_cast<std::int32_t>(product);
}

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

constexpr CodeTable<std::uint32_t, codeOf(ProductId::EndOfList)> Channels = {
    {codeOf(ProductId::TK5452),   1},
    {codeOf(ProductId::TK5451),   1},
    {codeOf(ProductId::RV5491),   1},
    {codeOf(ProductId::DQ5492),   1},
    {codeOf(ProductId::QOR4A),    2},
    {codeOf(ProductId::QOR3001),  1},
    {codeOf(ProductId::QOR3002),  2},
    {codeOf(ProductId::LYN3001),  1},
    {codeOf(ProductId::LYN3002),  2},
    {codeOf(ProductId::TK8851_1), 2},
    {codeOf(ProductId::TK8851_2), 2},
    {codeOf(ProductId::TK8851_3), 1},
    {codeOf(ProductId::TK8466),   2},
    {codeOf(ProductId::TK8851_4), 2},
    {codeOf(ProductId::QOR3003),  1},
    {codeOf(ProductId::QOR3004),  2},
    {codeOf(ProductId::LYN3003),  1},
};

constexpr CodeTable<std::uint32_t, 9> Radiolinks = {
    {0, 2},
    {3, 2},
    {4, 1},
    {5, 2},
    {6, 1},
    {7, 1},
    {8, 2},
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

std::uint32_t getNumberOfChannels() {
    BSP_LOG_ENTER(coreLog(), "()");
    const std::uint32_t* const known = Channels.find(codeOf(getProductId()));
    if (known == nullptr) {
        BSP_LOG(coreLog(), 1, "Unknown product id: ", codeOf(getProductId()));
    }
    const std::uint32_t count = known != nullptr ? *known : 1;
    BSP_LOG(coreLog(), 7, "numberOfChannels = ", count);
    return count;
}

std::uint32_t getNumberOfRadiolinks() {
    BSP_LOG_ENTER(coreLog(), "()");
    const std::int32_t code = getHwCode().words[TrafficWord];
    if (const auto* const known = Radiolinks.find(code)) {
        return *known;
    }
    BSP_LOG(coreLog(), 1, "Unknown traf type: ", code);
    return 2;
}

} // namespace os::bsp
