/// What bspinfo's answers about the unit's identity rest on.
#pragma once

#include "Identity/HwCode.hpp"

#include <cstddef>
#include <span>
#include <string>

namespace bspinfo {

/// Which of the unit's own data an answer rests on.
enum class Basis {
    Nothing,      // the answer is the same on all units, or comes from the configuration store
    Code,         // the hardware code, which comes from the EEPROM
    Row,          // the variant row of that code
    RestartSource // the code, then the row: they select the source of the restart's cause
};

/// Why an answer is only assumed; empty if it rests on the unit's own data.
std::string assumptionOf(Basis basis);

struct Eeprom {
    os::bsp::EepromBytes bytes{};
    int error = 0; // an errno value

    std::span<const std::byte> code() const;
};

/// The EEPROM, read once more and compared: this read may succeed although the layer's own failed.
const Eeprom& eeprom();

/// Each returns a word, key, register or marker, with its value on this unit.
namespace source {

std::string eepromFile();
std::string code();
std::string word(os::bsp::HwWord index);
std::string rowNumber(); // counts from 1; "none" without a table
std::string productCode();
std::string revisionCode();
std::string product();
std::string productAndRevision();
std::string fpgaVariant();
std::string radiolinkMode();
std::string restart();
std::string sameOnAll();

template <os::bsp::HwWord index>
std::string word() {
    return word(index);
}

} // namespace source
} // namespace bspinfo
