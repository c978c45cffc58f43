/// How answers are printed.
#pragma once

#include "Answer.hpp"

#include <string_view>

namespace bspinfo {

struct Format {
    std::string_view name;
    void (*print)(const Answers& answers); // to standard output, with a newline at the end
};

/// Null when there is no format of this name: text, a field a line; shell, quoted assignments for
/// eval, of which unknown and unreadable ones are empty; json, one object with a schema number.
const Format* findFormat(std::string_view name);

} // namespace bspinfo
