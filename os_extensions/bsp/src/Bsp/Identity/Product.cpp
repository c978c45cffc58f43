#include "bsp/Product.hpp"

#include "CodeTable.hpp"
#include "HwVariant.hpp"
#include "Log.hpp"
#include "bsp/Bsp.h"

namespace os::bsp {
namespace {

// clang-format off
constexpr CodeTable<ProductId, 15> ProductOfCode = {
    { 1, ProductId::QOR4A},
    { 2, ProductId::QOR3001},
    { 3, ProductId::QOR3002},
    { 4, ProductId::TK8851_1},
    { 5, ProductId::TK8851_2},
    { 6, ProductId::TK8466},
    { 7, ProductId::LYN3001},
    { 9, ProductId::TK8851_3},
    {10, ProductId::LYN3002},
    {11, ProductId::TK8851_4},
    {12, ProductId::QOR3003},
    {13, ProductId::QOR3004},
    {14, ProductId::LYN3003},
};
// clang-format on

} // namespace

ProductId getProductId() {
    const std::int32_t code = Bsp_getQorHwVariant()->productCode;
    if (const auto* const known = ProductOfCode.find(code)) {
        return *known;
    }
    BSP_LOG(coreLog(), 1, "Unknown product ID: ", code);
    return ProductId::EndOfList;
}

HwRevision getHwRevision() {
    return static_cast<HwRevision>(Bsp_getQorHwVariant()->hwRevision);
}

} // namespace os::bsp
