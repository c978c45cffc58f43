#include "HwCode.hpp"

#include "Log.hpp"
#include "bsp/Bsp.h"
#include "e2prom.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <system_error>

#include <pthread.h>

// C programs access the platform's row as a Bsp_HwVariantRow.
static_assert(sizeof(Bsp_HwVariantRow) == sizeof(os::bsp::QorHwVariant));
static_assert(
    offsetof(Bsp_HwVariantRow, hwRevision) == offsetof(os::bsp::QorHwVariant, hwRevision));
static_assert(
    offsetof(Bsp_HwVariantRow, platformData) == offsetof(os::bsp::QorHwVariant, platformData));
static_assert(
    offsetof(Bsp_HwVariantRow, productCode) == offsetof(os::bsp::QorHwVariant, productCode));
static_assert(offsetof(Bsp_HwVariantRow, hwCode) == offsetof(os::bsp::QorHwVariant, hwCode));

namespace os::bsp {
namespace {

constexpr int EepromDevice = 5;
constexpr int EepromSection = 1;

// The function name in the records of the steps that run once.
constexpr const char* OneTimeStep = "operator()";

// pthread_once, because glibc restarts it in a child that was forked while another thread was
// inside; std::call_once would hang.
void takeOnce(pthread_once_t& step, void (*action)()) {
    if (const int error = pthread_once(&step, action); error != 0) {
        throw std::system_error(error, std::generic_category());
    }
}

constinit pthread_once_t eepromRead = PTHREAD_ONCE_INIT;
constinit QorHwCode unitCode{};

QorHwCode defaultHwCode() {
    if (hwVariants.size() > DefaultVariant) {
        return hwVariants[DefaultVariant].hwCode;
    }
    BSP_LOG_AT(
        coreLog(), 1, __LINE__, OneTimeStep,
        "No default hardware code, the hardware variant table has only ", hwVariants.size(),
        " rows");
    QorHwCode none{};
    none.words.fill(-1);
    return none;
}

// Replaces the first row of an empty table. Its code equals no EEPROM's code and not the default
// one.
constexpr QorHwVariant NoVariant = [] {
    QorHwVariant row{};
    row.hwCode.words.fill(std::numeric_limits<std::int32_t>::min());
    return row;
}();

constinit pthread_once_t variantSelected = PTHREAD_ONCE_INIT;
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

int readEeprom(EepromBytes& bytes) {
    return e2prom_data_read(EepromDevice, EepromSection, bytes.data());
}

const QorHwCode& getHwCode() {
    takeOnce(eepromRead, [] {
        unitCode = defaultHwCode();
        EepromBytes bytes{};
        const int result = readEeprom(bytes);
        if (result != 0) {
            BSP_LOG_AT(
                coreLog(), 1, __LINE__, OneTimeStep, "e2prom_data_read() failed. Returned ",
                result);
            return;
        }
        std::copy_n(bytes.begin(), unitCode.words.size(), unitCode.words.begin());
    });
    return unitCode;
}

std::int32_t variantWord(HwWord word) {
    return Bsp_getQorHwVariant()->hwCode.words[word];
}

} // namespace os::bsp

const os::bsp::QorHwVariant* Bsp_getQorHwVariant() {
    using namespace os::bsp;
    takeOnce(variantSelected, [] {
        const QorHwCode code = getHwCode();
        const QorHwVariant* const match = findVariant(code);
        if (match == nullptr) {
            BSP_LOG_AT(coreLog(), 1, __LINE__, OneTimeStep, "Invalid hardware variant");
        }
        selectedVariant = match != nullptr ? match : firstVariant();
    });
    return selectedVariant;
}
