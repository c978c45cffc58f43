#pragma once

#include "Answer.hpp"

#include <span>
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

} // namespace bspinfo
