#include "VariantText.hpp"

#include "Number.hpp"

#include <algorithm>
#include <cstring>
#include <optional>

namespace {

using os::bsp::QorHwVariant;

constexpr std::string_view Blanks = " \t\r\n";
constexpr std::size_t WordsInRow = 16;

using Words = std::vector<std::int32_t>;

std::optional<Words> readWords(std::string_view line) {
    line = line.substr(0, line.find('#'));
    Words words;
    while (true) {
        line.remove_prefix(std::min(line.find_first_not_of(Blanks), line.size()));
        if (line.empty()) {
            return words;
        }
        const auto end = std::min(line.find_first_of(Blanks), line.size());
        const auto number = posix::parseNumber(line.substr(0, end));
        if (!number) {
            return std::nullopt;
        }
        words.push_back(*number);
        line.remove_prefix(end);
    }
}

QorHwVariant makeRow(const Words& words) {
    static_assert(sizeof(QorHwVariant) == WordsInRow * sizeof(Words::value_type));
    QorHwVariant row{};
    std::memcpy(&row, words.data(), sizeof row);
    return row;
}

} // namespace

Variants parseVariants(std::string_view text) {
    Variants variants;
    for (unsigned number = 1; !text.empty(); ++number) {
        const auto end = std::min(text.find('\n'), text.size() - 1);
        const auto words = readWords(text.substr(0, end + 1));
        if (!words || (!words->empty() && words->size() != WordsInRow)) {
            variants.malformedLine = number;
            break;
        }
        if (!words->empty()) {
            variants.rows.push_back(makeRow(*words));
        }
        text.remove_prefix(end + 1);
    }
    return variants;
}
