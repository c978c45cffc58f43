#include "Identity.hpp"

#include "Identity/HwCode.hpp"
#include "Printable.hpp"
#include "QorConfig.hpp"
#include "ResetSource.hpp"
#include "bsp/BoardId.hpp"
#include "bsp/Bsp.h"
#include "bsp/Components.hpp"
#include "bsp/Counts.hpp"
#include "bsp/FpgaPath.hpp"
#include "bsp/Platform.hpp"
#include "bsp/Product.hpp"
#include "bsp/RadiolinkMode.hpp"
#include "bsp/ResetType.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <exception>

namespace bspinfo {
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

// What an answer rests on: the word or the key, and its value on this unit.
namespace evidence {

std::string wordOf(HwWord word) {
    return "hardware word " + to_string(word) + " is " + to_string(getHwCode().words[word]);
}

template <HwWord index>
std::string word() {
    return wordOf(index);
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

} // namespace evidence

constexpr const char* NoRow = ", no row has that";

// A query whose answers have names. What it cannot name is the value behind the last one.
template <auto query, auto table>
Answer named() {
    const auto value = static_cast<std::int32_t>(query());
    const std::string name = lookupName(table(), value);
    const bool known = name != table().back().name;
    return known ? Answer{State::Known, name, value}
                 : Answer{State::Unknown, "unknown", value, NoRow};
}

// Counts are answered for unknown hardware, too: what the layer takes for granted then.
template <auto query>
Answer counted(bool known) {
    const std::uint32_t count = query();
    const std::string text = to_string(count);
    return known ? Answer{State::Known, text, count}
                 : Answer{State::Unknown, text + ", taken for granted", count, NoRow};
}

Answer channels() {
    return counted<getNumberOfChannels>(getProductId() != ProductId::EndOfList);
}

Answer radiolinks() {
    const bool known = getTrafficBackplane() != TrafficBackplaneType::EndOfList;
    return counted<getNumberOfRadiolinks>(known);
}

// Images are kept under the names in lower case.
Answer trafficFpgaImage() {
    std::string key = lookupName(trafFpgaTypeNames(), getTrafFpgaType());
    std::transform(key.begin(), key.end(), key.begin(), [](unsigned char letter) {
        return static_cast<char>(std::tolower(letter));
    });
    const char* const path = getFpgaPath(key.c_str());
    return path != nullptr ? Answer{State::Known, path}
                           : Answer{State::Unknown, "unknown", {}, NoRow};
}

Answer boardId() {
    return {State::Known, to_string(getBoardId()), getBoardId()};
}

template <auto query>
Answer board() {
    const std::string name = query();
    const bool known = name != "Unknown board revision";
    return known ? Answer{State::Known, name} : Answer{State::Unknown, "unknown", {}, NoRow};
}

// The layer calls Unknown what the register says of itself, and what it could not read.
Answer lastRestart() {
    if (resetSource() == ResetSource::Register && !readResetRegister()) {
        return {State::Unreadable, evidence::lastRestart()};
    }
    Answer answer = named<getResetType, resetTypeNames>();
    if (getResetType() == ResetType::Unknown) {
        answer = {State::Unknown, "unknown", answer.value};
    }
    return answer;
}

constexpr Field Fields[] = {
    {"product", named<getProductId, productIdNames>, evidence::product},
    {"hardware-revision", named<getHwRevision, hwRevisionNames>, evidence::revision},
    {"board", board<Bsp_getBoardIdText>, evidence::board},
    {"latest-board", board<Bsp_getLatestBoardIdText>, evidence::latestBoard},
    {"board-id", boardId, evidence::board},
    {"platform", named<getPlatformType, platformTypeNames>, evidence::word<PlatformWord>},
    {"traffic-backplane", named<getTrafficBackplane, trafficBackplaneTypeNames>,
     evidence::word<TrafficWord>},
    {"control-backplane", named<getControlBackplane, controlBackplaneTypeNames>,
     evidence::word<ControlBackplaneWord>},
    {"dsp", named<getDspType, dspTypeNames>, evidence::word<DspWord>},
    {"traffic-fpga", named<getTrafFpgaType, trafFpgaTypeNames>, evidence::trafficFpga},
    {"traffic-fpga-image", trafficFpgaImage, evidence::trafficFpga},
    {"switch", named<getSwitchType, switchTypeNames>, evidence::sameOnAll},
    {"channels", channels, evidence::channels},
    {"radio-links", radiolinks, evidence::word<TrafficWord>},
    {"radiolink-mode", named<getRadiolinkMode, radiolinkModeNames>, evidence::radiolinkMode},
    {"last-restart", lastRestart, evidence::lastRestart},
};

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

Answers unitEvidence() {
    EepromBytes bytes{};
    const Answer eeprom = readEeprom(bytes) == 0 ? Answer{State::Known, hexadecimal(std::as_bytes(std::span(bytes)).first(QorHwCode().words.size()))}
                                                 : Answer{State::Unreadable, eepromProblem()};
    return {
        {"eeprom", eeprom},
        {"hardware-words", {State::Known, words()}},
        {"variant-row", variantRow()}};
}

std::span<const Field> fields() {
    return Fields;
}

const Field* findField(std::string_view name) {
    const auto* const field = std::find_if(
        std::begin(Fields), std::end(Fields), [&](const Field& row) { return row.name == name; });
    return field != std::end(Fields) ? field : nullptr;
}

Answer ask(const Field& field) {
    try {
        return field.query();
    } catch (const std::exception& exception) {
        return {State::Unreadable, std::string("cannot be read: ") + exception.what()};
    }
}

} // namespace bspinfo
