#include "Commands.hpp"

#include "LayerMessages.hpp"
#include "Printable.hpp"
#include "ResetSource.hpp"
#include "Sources.hpp"
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

struct Field {
    const char* name;
    const char* meaning;
    const char* noun; // what is not listed if the answer is unknown
    Basis basis;
    Answer (*query)();        // known, unknown or unreadable
    std::string (*source)();  // where the answer comes from, with the value there
    std::string (*further)(); // a second source; null for none
};

// For a value without a name or row in the layer.
Answer unlisted(std::optional<std::int64_t> value = {}) {
    return {.state = State::Unknown, .text = "", .value = value};
}

Answer eepromBytes() {
    if (eeprom().error == 0) {
        return known(hexadecimal(eeprom().code()));
    }
    const std::string row = "variant row " + to_string(DefaultVariant + 1);
    return unreadable(
        source::eepromFile() + ": " + std::strerror(eeprom().error) +
        (hwVariants.size() > DefaultVariant ? ", assuming " + row : ", there is no " + row));
}

Answer variantRow() {
    const std::string number = source::rowNumber();
    return hwVariants.empty() ? unlisted() : known(number, std::stoi(number));
}

// A query whose answers have names. A value without a name gets that of the last row of the table.
template <auto query, auto table>
Answer named() {
    const auto value = static_cast<std::int32_t>(query());
    const std::string name = lookupName(table(), value);
    return name != table().back().name ? known(name, value) : unlisted(value);
}

// The layer returns a count also for unknown hardware.
template <auto query>
Answer counted(bool isListed) {
    const std::uint32_t count = query();
    return {isListed ? State::Known : State::Unknown, to_string(count), count};
}

Answer channels() {
    return counted<getNumberOfChannels>(getProductId() != ProductId::EndOfList);
}

Answer radiolinks() {
    return counted<getNumberOfRadiolinks>(getTrafficBackplane() != TrafficBackplaneType::EndOfList);
}

// The keys of images are the names in lower case.
Answer trafficFpgaImage() {
    std::string key = lookupName(trafFpgaTypeNames(), getTrafFpgaType());
    std::transform(key.begin(), key.end(), key.begin(), [](unsigned char letter) {
        return static_cast<char>(std::tolower(letter));
    });
    const char* const path = getFpgaPath(key.c_str());
    return path != nullptr ? known(path) : unlisted();
}

// Any two numbers give an id, but it is a board's only if both have names.
Answer boardId() {
    const auto isNamed = [](const Answer& answer) {
        return answer.state == State::Known;
    };
    const bool isListed = isNamed(named<getProductId, productIdNames>()) &&
                          isNamed(named<getHwRevision, hwRevisionNames>());
    const int id = getBoardId();
    return {
        isListed ? State::Known : State::Unknown, hexadecimal(static_cast<std::uint32_t>(id), 8),
        id};
}

template <auto query>
Answer board() {
    const std::string name = query();
    return name != UnknownBoardRevision ? known(name) : unlisted();
}

// The layer returns Unknown both if the register says so and if it cannot be read.
Answer lastRestart() {
    if (resetSource() == ResetSource::Register && !readResetRegister()) {
        return unreadable("register top.sys_ctrl0 cannot be read");
    }
    const Answer answer = named<getResetType, resetTypeNames>();
    return getResetType() != ResetType::Unknown ? answer : unlisted(answer.value);
}

// clang-format off
constexpr Field Fields[] = {
    {"eeprom", "the EEPROM's bytes that identify the unit", "",
     Basis::Nothing, eepromBytes, source::eepromFile, nullptr},
    {"variant-row", "the row of the platform's variant table", "row",
     Basis::Row, variantRow, source::code, nullptr},
    {"product", "the product", "product",
     Basis::Row, named<getProductId, productIdNames>, source::productCode, nullptr},
    {"hardware-revision", "the board's revision", "hardware revision",
     Basis::Row, named<getHwRevision, hwRevisionNames>, source::revisionCode, nullptr},
    {"board", "the board's name", "board name",
     Basis::Row, board<Bsp_getBoardIdText>, source::productAndRevision, nullptr},
    {"latest-board", "the name of the product's latest board", "board name",
     Basis::Row, board<Bsp_getLatestBoardIdText>, source::product, nullptr},
    {"board-id", "product and revision in one number", "board id",
     Basis::Row, boardId, source::productAndRevision, nullptr},
    {"platform", "the unit's generation", "platform",
     Basis::Code, named<getPlatformType, platformTypeNames>, source::word<PlatformWord>, nullptr},
    {"traffic-backplane", "the kind of the traffic backplane", "traffic backplane",
     Basis::Code, named<getTrafficBackplane, trafficBackplaneTypeNames>,
     source::word<TrafficWord>, nullptr},
    {"control-backplane", "the kind of the control backplane", "control backplane",
     Basis::Code, named<getControlBackplane, controlBackplaneTypeNames>,
     source::word<ControlBackplaneWord>, nullptr},
    {"dsp", "the DSP, which is the modem", "DSP",
     Basis::Code, named<getDspType, dspTypeNames>, source::word<DspWord>, nullptr},
    {"traffic-fpga", "the traffic FPGA", "traffic FPGA",
     Basis::Code, named<getTrafFpgaType, trafFpgaTypeNames>,
     source::word<TrafficWord>, source::fpgaVariant},
    {"traffic-fpga-image", "the path of the traffic FPGA's image", "image",
     Basis::Code, trafficFpgaImage, source::word<TrafficWord>, source::fpgaVariant},
    {"switch", "the switch chip", "switch chip",
     Basis::Nothing, named<getSwitchType, switchTypeNames>, source::sameOnAll, nullptr},
    {"channels", "the number of traffic channels", "number of channels",
     Basis::Row, channels, source::product, nullptr},
    {"radio-links", "the number of radio links", "number of radio links",
     Basis::Code, radiolinks, source::word<TrafficWord>, nullptr},
    {"radiolink-mode", "the radio-link mode in the configuration store", "radio-link mode",
     Basis::Nothing, named<getRadiolinkMode, radiolinkModeNames>,
     source::radiolinkMode, nullptr},
    {"last-restart", "the cause of the last restart", "cause",
     Basis::RestartSource, lastRestart, source::restart, nullptr},
};
// clang-format on

std::string evidenceOf(const Field& field) {
    return field.source() + (field.further != nullptr ? ", " + field.further() : "");
}

// Adjusts the answer to what the field rests on, and adds reason and evidence.
Answer qualified(Answer answer, const Field& field, bool explain) {
    if (answer.state == State::Unknown) {
        answer.reason = std::string("no ") + field.noun + " is listed for " + field.source();
    } else if (explain) {
        answer.evidence = evidenceOf(field);
    }
    if (const std::string assumption = assumptionOf(field.basis); !assumption.empty()) {
        answer.state = State::Assumed;
        answer.text = answer.text.empty() ? "unknown" : answer.text;
        answer.reason = assumption + (answer.reason.empty() ? "" : "; " + answer.reason);
    }
    return answer;
}

// An exception from the platform becomes an answer, too.
Answer ask(const Field& field, bool explain) {
    try {
        const Answer answer = field.query();
        return answer.state == State::Unreadable ? answer : qualified(answer, field, explain);
    } catch (const std::exception& exception) {
        return unreadable(exception.what());
    }
}

const Field* findField(std::string_view name) {
    const auto* const field = std::find_if(
        std::begin(Fields), std::end(Fields), [&](const Field& row) { return row.name == name; });
    return field != std::end(Fields) ? field : nullptr;
}

} // namespace

void listFields() {
    for (const Field& field : Fields) {
        std::printf("  %-19s %s\n", field.name, field.meaning);
    }
}

bool isField(std::string_view name) {
    return findField(name) != nullptr;
}

Report identify(const Request& request) {
    const LayerMessages messages;
    Answers answers;
    for (const char* const name : request.operands) {
        answers.push_back({name, ask(*findField(name), request.explain)});
    }
    if (!answers.empty()) {
        return {answers, statusOf(answers)};
    }
    for (const Field& field : Fields) {
        answers.push_back({field.name, ask(field, request.explain)});
    }
    return {answers, isAnyUnreadable(answers) ? 2 : 0};
}

} // namespace bspinfo
