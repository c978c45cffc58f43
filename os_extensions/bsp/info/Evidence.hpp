/// What the answers about the unit rest on, as people want to read it.
#pragma once

#include "Answer.hpp"
#include "Identity/HwCode.hpp"

#include <string>

namespace bspinfo::evidence {

/// Of the unit: the EEPROM's bytes, the words of its hardware code, the row of variants.
Answers unit();

/// Why identity does not come from this unit's own EEPROM; empty when it does.
std::string eepromProblem();

// Of one answer: the word or the key it rests on, and the value of that on this unit.

std::string wordOf(os::bsp::HwWord word);

template <os::bsp::HwWord index>
std::string word() {
    return wordOf(index);
}

std::string product();
std::string revision();
std::string board();
std::string latestBoard();
std::string channels();
std::string trafficFpga();
std::string radiolinkMode();
std::string lastRestart();
std::string sameOnAll();

} // namespace bspinfo::evidence
