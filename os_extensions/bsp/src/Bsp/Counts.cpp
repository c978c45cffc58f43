#include "bsp/Counts.hpp"

#include "CodeTable.hpp"
#include "CoreLog.hpp"
#include "HwCode.hpp"
#include "bsp/Bsp.h"
#include "bsp/Product.hpp"

namespace os::bsp {
namespace {

constexpr std::int32_t codeOf(ProductId product) {
    return static_cast<std::int32_t>(product);
}

// clang-format off
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

} // namespace

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

unsigned Bsp_getNumberOfChannels() {
    return os::bsp::getNumberOfChannels();
}

unsigned Bsp_getNumberOfRlt() {
    return os::bsp::getNumberOfRadiolinks();
}
