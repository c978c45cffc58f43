/// What is known of a unit, and how it is printed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bspinfo {

/// What one asks for turns out to be known, unknown to the layer, or not to be read here and now.
/// The exit status for it, too: of all answers the worst.
enum class State { Known = 0, Unknown = 1, Unreadable = 2 };

struct Answer {
    State state;
    std::string text;                       // the answer, or why there is none
    std::optional<std::int64_t> value = {}; // the same as a number, where it is one
    std::string evidence = {};              // what it rests on, where that is asked for
};

/// A field as it is printed: lower case, words joined by a dash.
struct NamedAnswer {
    std::string name;
    Answer answer;
};

using Answers = std::vector<NamedAnswer>;

struct Format {
    std::string_view name;
    void (*print)(const Answers& answers); // to standard output, with a newline at the end
};

/// Null when there is no format of this name: text, a field a line; shell, quoted assignments for
/// eval, of which unknown and unreadable ones are empty; json, one object with a schema number.
const Format* findFormat(std::string_view name);

} // namespace bspinfo
