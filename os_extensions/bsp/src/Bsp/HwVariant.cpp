#include "CoreLog.hpp"
#include "HwCode.hpp"
#include "OnceFlag.hpp"
#include "bsp/Bsp.h"

#include <algorithm>
#include <limits>

namespace os::bsp {
namespace {

// Stands in for the first row of an empty table. Its code is no EEPROM's and not the default one.
constexpr QorHwVariant NoVariant = [] {
    QorHwVariant row{};
    row.hwCode.words.fill(std::numeric_limits<std::int32_t>::min());
    return row;
}();

constinit OnceFlag variantSelected;
constinit const QorHwVariant* selectedVariant = &NoVariant;

const QorHwVariant* findVariant(const QorHwCode& code) {
    const auto matches = [&](const QorHwVariant& row) {
        return row == code;
    };
    const auto row = std::find_if(hwVariants.begin(), hwVariants.end(), matches);
    return row != hwVariants.end() ? &*row : nullptr;
}

const QorHwVariant* firstVariant() {
    return hwVariants.empty() ? &NoVariant : &hwVariants.front();
}

} // namespace

std::int32_t variantWord(HwWord word) {
    return Bsp_getQorHwVariant()->hwCode.words[word];
}

} // namespace os::bsp

const os::bsp::QorHwVariant* Bsp_getQorHwVariant() {
    using namespace os::bsp;
    variantSelected.run([] {
        const QorHwCode code = getHwCode();
        const QorHwVariant* const match = findVariant(code);
        if (match == nullptr) {
            BSP_LOG(coreLog(), 1, "Invalid hardware variant");
        }
        selectedVariant = match != nullptr ? match : firstVariant();
    });
    return selectedVariant;
}
