/// What is known about a unit, and how it is printed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bspinfo {

enum class State {
    Known,
    Unknown,   ///< the layer has no name or row for the unit's code
    Assumed,   ///< rests on an assumed code or variant row
    Unreadable ///< could not be read here and now
};

/// A named part of an answer; the text format pads it to `width`.
struct Column {
    const char* name;
    std::string text;
    std::size_t width = 0;
};

struct Answer {
    State state = State::Known;
    std::string text;                       // the answer; empty if there is none
    std::optional<std::int64_t> value = {}; // the same as a number, if it is one
    std::string reason = {};                // why it is not known
    std::string evidence = {};              // what it rests on, if requested
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

/// The name is in lower case, its words joined by a dash.
struct NamedAnswer {
    std::string name;
    Answer answer;
};

using Answers = std::vector<NamedAnswer>;

bool isAnyUnreadable(const Answers& answers);

/// 2 if an answer is unreadable, else 1 if one is unknown or assumed, else 0.
int statusOf(const Answers& answers);

struct Format {
    std::string_view name;
    void (*print)(const Answers& answers); // to standard output, with a newline at the end
};

/// Null if no format has this name. The formats: text, one answer a line; shell, quoted assignments
/// for eval; json, one object with a schema number. None of them prints a control character,
/// whatever an answer contains.
const Format* findFormat(std::string_view name);

} // namespace bspinfo
