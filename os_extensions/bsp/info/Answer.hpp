#pragma once

#include <cstdint>
#include <optional>
#include <string>
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

} // namespace bspinfo
