#include "HwVariant.hpp"

#include "PlatformRoot.hpp"
#include "VariantFile.hpp"

namespace os::bsp {
namespace {

constexpr QorHwVariant BuiltInVariants[] = {
#include "BuiltInVariants.inc"
};

std::vector<QorHwVariant> loadVariants() {
    if (auto rows = readVariantFile(platform::path("etc/qor/hw_variants"))) {
        return *std::move(rows);
    }
    return {std::begin(BuiltInVariants), std::end(BuiltInVariants)};
}

} // namespace

std::vector<QorHwVariant> hwVariants = loadVariants();

bool operator==(QorHwVariant const& variant, QorHwCode const& code) {
    return variant.hwCode.words == code.words;
}

} // namespace os::bsp
