#include "HwCode.hpp"

#include "CoreLog.hpp"
#include "OnceFlag.hpp"
#include "bsp/Bsp.h"
#include "e2prom.h"

#include <algorithm>
#include <limits>

namespace os::bsp {
namespace {

constexpr int EepromDevice = 5;
constexpr int EepromSection = 1;
constexpr std::size_t DefaultVariant = 14;

// The platform's function may write more than the 8 bytes that are used.
using EepromBuffer = std::array<unsigned char, 64>;

// The function name that records of one-time steps carry.
constexpr const char* OneTimeStep = "operator()";

constinit OnceFlag eepromRead;

QorHwCode defaultHwCode() {
    if (hwVariants.size() > DefaultVariant) {
        return hwVariants[DefaultVariant].hwCode;
    }
    BSP_LOG(
        coreLog(), 1, "No default hardware code, the hardware variant table has only ",
        hwVariants.size(), " rows");
    QorHwCode none{};
    none.words.fill(-1);
    return none;
}

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

const QorHwCode& getHwCode() {
    static QorHwCode code = defaultHwCode();
    eepromRead.run([] {
        EepromBuffer bytes{};
        const int result = e2prom_data_read(EepromDevice, EepromSection, bytes.data());
        if (result != 0) {
            BSP_LOG_AT(
                coreLog(), 1, __LINE__, OneTimeStep, "e2prom_data_read() failed. Returned ",
                result);
            return;
        }
        std::copy_n(bytes.begin(), code.words.size(), code.words.begin());
    });
    return code;
}

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
            BSP_LOG_AT(coreLog(), 1, __LINE__, OneTimeStep, "Invalid hardware variant");
        }
        selectedVariant = match != nullptr ? match : firstVariant();
    });
    return selectedVariant;
}
