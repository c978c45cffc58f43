#include "Evidence.hpp"

#include "Printable.hpp"
#include "QorConfig.hpp"
#include "ResetSource.hpp"
#include "bsp/Bsp.h"
#include "bsp/Product.hpp"

#include <cstring>
#include <exception>

namespace bspinfo::evidence {
namespace {

using namespace os::bsp;
using std::to_string;

std::string words() {
    std::string text;
    for (const std::int32_t word : getHwCode().words) {
        text += (text.empty() ? "" : " ") + to_string(word);
    }
    return text;
}

Answer variantRow() {
    if (hwVariants.empty()) {
        return {State::Unknown, "there is none"};
    }
    const QorHwVariant* const row = Bsp_getQorHwVariant();
    const auto number = row - hwVariants.data() + 1;
    return *row == getHwCode() ? Answer{State::Known, to_string(number), number}
                               : Answer{State::Unknown, "no row, the first row stands in"};
}

// The value of a key in quotes, and why there is none.
std::string stored(std::string_view key) {
    try {
        const std::string value = QorConfig().getValue(key);
        return std::string(key) + " in the store is " +
               (value.empty() ? "not set" : "\"" + value + "\"");
    } catch (const std::exception& exception) {
        return std::string(key) + " in the store cannot be read: " + exception.what();
    }
}

std::string registerText() {
    const auto value = readResetRegister();
    return value ? "register top.sys_ctrl0 is " + to_string(*value)
                 : "register top.sys_ctrl0 cannot be read";
}

} // namespace

std::string eepromProblem() {
    EepromBytes bytes{};
    const int error = readEeprom(bytes);
    const std::string standIn = hwVariants.size() > DefaultVariant
                                    ? "the fifteenth variant row stands in"
                                    : "there is no fifteenth variant row to stand in";
    return error == 0 ? ""
                      : std::string("EEPROM unreadable (") + std::strerror(error) + "), " + standIn;
}

Answers unit() {
    EepromBytes bytes{};
    const Answer eeprom = readEeprom(bytes) == 0 ? Answer{State::Known, hexadecimal(std::as_bytes(std::span(bytes)).first(QorHwCode().words.size()))}
                                                 : Answer{State::Unreadable, eepromProblem()};
    return {
        {"eeprom", eeprom},
        {"hardware-words", {State::Known, words()}},
        {"variant-row", variantRow()}};
}

std::string wordOf(HwWord word) {
    return "hardware word " + to_string(word) + " is " + to_string(getHwCode().words[word]);
}

std::string product() {
    return "product code of the variant row is " + to_string(Bsp_getQorHwVariant()->productCode);
}

std::string revision() {
    return "revision of the variant row is " + to_string(Bsp_getQorHwVariant()->hwRevision);
}

std::string latestBoard() {
    return "product is " + to_string(Bsp_getProductId());
}

std::string board() {
    return latestBoard() + ", revision is " + to_string(Bsp_getHwRevision());
}

std::string channels() {
    return latestBoard();
}

std::string trafficFpga() {
    return wordOf(TrafficWord) + ", " + stored(key::FpgaVariant);
}

std::string radiolinkMode() {
    return stored(key::RadiolinkMode);
}

std::string lastRestart() {
    switch (resetSource()) {
    case ResetSource::Register:
        return registerText();
    case ResetSource::Marker:
        return std::string("marker ") + ColdRestartMarker +
               (isMarkedCold() ? " is there" : " is not there");
    default:
        return "this product tells nothing, so it is taken for a cold one";
    }
}

std::string sameOnAll() {
    return "the same on all units";
}

} // namespace bspinfo::evidence
