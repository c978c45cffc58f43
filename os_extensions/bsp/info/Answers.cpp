#include "Answers.hpp"

#include "Printable.hpp"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace bspinfo {
namespace {

constexpr int Schema = 1; // goes up when a program that reads the output has to be changed
constexpr std::size_t NameWidth = 22;

// The name padded to a column, and the text.
std::string line(std::string_view name, std::string_view text) {
    std::string result(name);
    result.resize(std::max(result.size() + 1, NameWidth), ' ');
    return result.append(text);
}

void printText(const Answers& answers) {
    for (const auto& [name, answer] : answers) {
        const std::string evidence = answer.evidence.empty() ? "" : " (" + answer.evidence + ")";
        std::puts(printable(line(name, answer.text + evidence)).c_str());
    }
}

std::string shellQuoted(std::string_view text) {
    std::string result = "'";
    for (const char character : text) {
        result += character == '\'' ? "'\\''" : std::string(1, character);
    }
    return result + "'";
}

void printShell(const Answers& answers) {
    for (const auto& [name, answer] : answers) {
        std::string variable = "BSP_" + name;
        std::transform(variable.begin(), variable.end(), variable.begin(), [](unsigned char byte) {
            return static_cast<char>(byte == '-' ? '_' : std::toupper(byte));
        });
        const bool known = answer.state == State::Known;
        std::printf("%s=%s\n", variable.c_str(), shellQuoted(known ? answer.text : "").c_str());
        if (!known) {
            std::fprintf(stderr, "bspinfo: %s: %s\n", name.c_str(), printable(answer.text).c_str());
        }
    }
}

void printJson(const Answers& answers) {
    constexpr const char* States[] = {"known", "unknown", "unreadable"};
    nlohmann::ordered_json fields = nlohmann::ordered_json::object();
    for (const auto& [name, answer] : answers) {
        nlohmann::ordered_json& field = fields[name];
        field["state"] = States[static_cast<int>(answer.state)];
        field["text"] = answer.text;
        if (answer.value) {
            field["value"] = *answer.value;
        }
        if (!answer.evidence.empty()) {
            field["evidence"] = answer.evidence;
        }
    }
    const nlohmann::ordered_json whole = {{"schema", Schema}, {"fields", fields}};
    // A text of somebody else's may be no UTF-8.
    const auto replace = nlohmann::ordered_json::error_handler_t::replace;
    std::puts(whole.dump(2, ' ', false, replace).c_str());
}

constexpr Format Formats[] = {
    {"text", printText},
    {"shell", printShell},
    {"json", printJson},
};

} // namespace

const Format* findFormat(std::string_view name) {
    const auto* const format =
        std::find_if(std::begin(Formats), std::end(Formats), [&](const Format& row) {
            return row.name == name;
        });
    return format != std::end(Formats) ? format : nullptr;
}

} // namespace bspinfo
