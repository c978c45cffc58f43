/// What is known of a unit, and how it is printed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bspinfo {

enum class State {
    Known,
    Unknown,   ///< the layer has no name or row for what the unit says
    Assumed,   ///< rests on what stands in for the unit's own code or variant row
    Unreadable ///< could not be read here and now
};

/// A part of an answer that has a name of its own; as text, padded to a width.
struct Column {
    const char* name;
    std::string text;
    std::size_t width = 0;
};

struct Answer {
    State state = State::Known;
    std::string text;                       // the answer; empty when there is none
    std::optional<std::int64_t> value = {}; // the same as a number, if it is one
    std::string reason = {};                // why it is not known
    std::string evidence = {};              // what it rests on, when that is asked for
    std::vector<Column> columns = {};
};

inline Answer known(std::string text, std::optional<std::int64_t> value = {}) {
    return {.text = std::move(text), .value = value};
}

inline Answer unknown(std::string reason) {
    return {.state = State::Unknown, .text = "", .reason = std::move(reason)};
}

inline Answer unreadable(std::string reason) {
    return {.state = State::Unreadable, .text = "", .reason = std::move(reason)};
}

/// A name is in lower case, its words joined by a dash.
struct NamedAnswer {
    std::string name;
    Answer answer;
};

using Answers = std::vector<NamedAnswer>;

bool isAnyUnreadable(const Answers& answers);

/// 2 when an answer is unreadable, else 1 when one is unknown or assumed, else 0.
int statusOf(const Answers& answers);

struct Format {
    std::string_view name;
    void (*print)(const Answers& answers); // to standard output, with a newline at the end
};

/// Null when there is no format of this name: text, an answer a line; shell, quoted assignments for
/// eval; json, one object with a schema number. None prints a control character, whatever an answer
/// contains.
const Format* findFormat(std::string_view name);

} // namespace bspinfo
