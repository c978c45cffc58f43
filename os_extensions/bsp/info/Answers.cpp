#include "Answers.hpp"

#include "Printable.hpp"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace bspinfo {
namespace {

constexpr int Schema = 2; // goes up if programs that read the output must change
constexpr std::size_t NameWidth = 22;
constexpr std::size_t TextWidth = 7; // before columns

const char* nameOf(State state) {
    constexpr const char* Names[] = {"known", "unknown", "assumed", "unreadable"};
    return Names[static_cast<int>(state)];
}

std::string joined(const std::string& left, const char* between, const std::string& right) {
    return left.empty() || right.empty() ? left + right : left + between + right;
}

// "answer", "answer (evidence)", "answer (state: reason; evidence)" or "state: reason; evidence".
std::string describe(const Answer& answer) {
    std::string details = joined(answer.reason, "; ", answer.evidence);
    if (answer.state != State::Known) {
        details = joined(nameOf(answer.state), ": ", details);
    }
    return answer.text.empty() || details.empty() ? answer.text + details
                                                  : answer.text + " (" + details + ")";
}

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

void printText(const Answers& answers) {
    for (const auto& [name, answer] : answers) {
        const std::size_t width = answer.columns.empty() ? 0 : TextWidth;
        std::string line = padded(name, NameWidth - 1) + " " + padded(describe(answer), width);
        for (const Column& column : answer.columns) {
            line += std::string("  ") + column.name + " " + padded(column.text, column.width);
        }
        line.resize(line.find_last_not_of(' ') + 1);
        std::puts(printable(line).c_str());
    }
}

// In single quotes, a shell interprets only the single quote.
std::string shellQuoted(const std::string& text) {
    std::string result = "'";
    for (const char character : printable(text)) {
        result += character == '\'' ? "'\\''" : std::string(1, character);
    }
    return result + "'";
}

void assign(std::string variable, const std::string& text) {
    std::transform(variable.begin(), variable.end(), variable.begin(), [](unsigned char byte) {
        return static_cast<char>(byte == '-' ? '_' : std::toupper(byte));
    });
    std::printf("BSP_%s=%s\n", variable.c_str(), shellQuoted(text).c_str());
}

void printShell(const Answers& answers) {
    for (const auto& [name, answer] : answers) {
        assign(name, answer.state == State::Known ? answer.text : "");
        assign(name + "-state", nameOf(answer.state));
        assign(name + "-text", describe(answer));
        for (const Column& column : answer.columns) {
            assign(name + "-" + column.name, column.text);
        }
    }
}

nlohmann::ordered_json toJson(const Answer& answer) {
    nlohmann::ordered_json field = {{"state", nameOf(answer.state)}, {"text", answer.text}};
    if (answer.value) {
        field["value"] = *answer.value;
    }
    if (!answer.reason.empty()) {
        field["reason"] = answer.reason;
    }
    if (!answer.evidence.empty()) {
        field["evidence"] = answer.evidence;
    }
    for (const Column& column : answer.columns) {
        field[column.name] = column.text;
    }
    return field;
}

void printJson(const Answers& answers) {
    nlohmann::ordered_json fields = nlohmann::ordered_json::object();
    for (const auto& [name, answer] : answers) {
        fields[name] = toJson(answer);
    }
    const nlohmann::ordered_json whole = {{"schema", Schema}, {"fields", fields}};
    // Texts from outside may be no UTF-8; the output is ASCII.
    const auto replace = nlohmann::ordered_json::error_handler_t::replace;
    std::puts(whole.dump(2, ' ', true, replace).c_str());
}

constexpr Format Formats[] = {
    {"text", printText},
    {"shell", printShell},
    {"json", printJson},
};

} // namespace

bool isAnyUnreadable(const Answers& answers) {
    return std::any_of(answers.begin(), answers.end(), [](const NamedAnswer& named) {
        return named.answer.state == State::Unreadable;
    });
}

int statusOf(const Answers& answers) {
    const auto isKnown = [](const NamedAnswer& named) {
        return named.answer.state == State::Known;
    };
    const bool areKnown = std::all_of(answers.begin(), answers.end(), isKnown);
    return isAnyUnreadable(answers) ? 2 : areKnown ? 0 : 1;
}

const Format* findFormat(std::string_view name) {
    const auto* const format =
        std::find_if(std::begin(Formats), std::end(Formats), [&](const Format& row) {
            return row.name == name;
        });
    return format != std::end(Formats) ? format : nullptr;
}

} // namespace bspinfo
