#include "Sources.hpp"

#include "PlatformRoot.hpp"
#include "Printable.hpp"
#include "QorConfig.hpp"
#include "ResetSource.hpp"
#include "bsp/Bsp.h"
#include "bsp/Product.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>

namespace bspinfo {

using namespace os::bsp;
using std::to_string;

namespace {

bool hasVariantRow() {
    return *Bsp_getQorHwVariant() == getHwCode();
}

std::string stored(std::string_view key) {
    try {
        const std::string value = QorConfig().getValue(key);
        return std::string(key) + " in the store is " +
               (value.empty() ? "not set" : "\"" + value + "\"");
    } catch (const std::exception& exception) {
        return std::string(key) + " in the store cannot be read: " + exception.what();
    }
}

} // namespace

std::string assumptionOf(Basis basis) {
    if (basis == Basis::Nothing) {
        return "";
    }
    if (eeprom().error != 0) {
        return std::string("the EEPROM cannot be read: ") + std::strerror(eeprom().error);
    }
    const bool onRow = basis == Basis::Row ||
                       (basis == Basis::RestartSource && resetSource() != ResetSource::Register);
    return onRow && !hasVariantRow() ? "no variant row has the EEPROM's code" : "";
}

std::span<const std::byte> Eeprom::code() const {
    return std::as_bytes(std::span(bytes)).first(QorHwCode().words.size());
}

const Eeprom& eeprom() {
    static const Eeprom once = [] {
        Eeprom eeprom;
        const auto& words = getHwCode().words;
        eeprom.error = readEeprom(eeprom.bytes);
        if (eeprom.error == 0 && !std::equal(words.begin(), words.end(), eeprom.bytes.begin())) {
            eeprom.error = EIO;
        }
        return eeprom;
    }();
    return once;
}

namespace source {

std::string eepromFile() {
    return platform::path("var/lib/qor/e2prom/5/1");
}

std::string code() {
    std::string text = "hardware code";
    for (const std::int32_t word : getHwCode().words) {
        text += " " + hexadecimal(static_cast<std::uint32_t>(word), 2).substr(2);
    }
    return text;
}

std::string word(HwWord index) {
    const auto value = static_cast<std::uint32_t>(getHwCode().words[index]);
    return "hardware word " + to_string(index) + " = " + hexadecimal(value, 2);
}

std::string rowNumber() {
    return hwVariants.empty() ? "none" : to_string(Bsp_getQorHwVariant() - hwVariants.data() + 1);
}

std::string productCode() {
    return "product code " + to_string(Bsp_getQorHwVariant()->productCode) + " of variant row " +
           rowNumber();
}

std::string revisionCode() {
    return "revision " + to_string(Bsp_getQorHwVariant()->hwRevision) + " of variant row " +
           rowNumber();
}

std::string product() {
    return "product " + lookupName(productIdNames(), getProductId()) + " (" +
           to_string(Bsp_getProductId()) + ")";
}

std::string productAndRevision() {
    return product() + ", revision " + lookupName(hwRevisionNames(), getHwRevision()) + " (" +
           to_string(Bsp_getHwRevision()) + ")";
}

std::string fpgaVariant() {
    return stored(key::FpgaVariant);
}

std::string radiolinkMode() {
    return stored(key::RadiolinkMode);
}

std::string restart() {
    switch (resetSource()) {
    case ResetSource::Register:
        return "register top.sys_ctrl0 = " + hexadecimal(readResetRegister().value_or(0), 8);
    case ResetSource::Marker:
        return std::string("marker ") + ColdRestartMarker +
               (isMarkedCold() ? " exists" : " does not exist");
    default:
        return "this product keeps no cause, so every restart counts as a cold one";
    }
}

std::string sameOnAll() {
    return "the same on all units";
}

} // namespace source
} // namespace bspinfo
