/// What the unit is, and what each answer rests on, as people want to read it.
#pragma once

#include "Answers.hpp"

#include <span>
#include <string>
#include <string_view>

namespace bspinfo {

/// One thing to be known about the unit.
struct Field {
    const char* name;
    Answer (*query)();
    std::string (*evidence)(); // what the answer rests on
};

std::span<const Field> fields();

/// Null when there is no field of this name.
const Field* findField(std::string_view name);

/// What the field's query answers; an exception of the platform's becomes an answer, too. Its
/// evidence tells only where the layer has no row for what the unit says.
Answer ask(const Field& field);

/// What all fields rest on: the EEPROM's bytes, the words of its hardware code, the row of
/// variants.
Answers unitEvidence();

/// Why identity does not come from this unit's own EEPROM; empty when it does.
std::string eepromProblem();

} // namespace bspinfo
