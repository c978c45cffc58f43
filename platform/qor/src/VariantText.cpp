#include "VariantFile.hpp"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string_view>

namespace {

using os::bsp::QorHwVariant;

constexpr std::string_view Blanks = " \t\r";
constexpr std::size_t WordsInRow = 16;

using Words = std::vector<std::int32_t>;

std::optional<std::int32_t> readNumber(std::string_view word) {
    const bool hexadecimal = word.starts_with("0x") || word.starts_with("0X");
    if (hexadecimal) {
        word.remove_prefix(2);
    }
    std::int32_t number = 0;
    const auto parsed = std::from_chars(word.begin(), word.end(), number, hexadecimal ? 16 : 10);
    const bool sign = hexadecimal && word.starts_with('-');
    const bool whole = !sign && parsed.ec == std::errc{} && parsed.ptr == word.end();
    return whole ? std::optional(number) : std::nullopt;
}

std::optional<Words> readWords(std::string_view line) {
    line = line.substr(0, line.find('#'));
    Words words;
    while (true) {
        line.remove_prefix(std::min(line.find_first_not_of(Blanks), line.size()));
        if (line.empty()) {
            return words;
        }
        const auto end = std::min(line.find_first_of(Blanks), line.size());
        const auto number = readNumber(line.substr(0, end));
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

void complain(const std::string& path, unsigned line, const char* reason) {
    std::fprintf(
        stderr, "%s:%u: %s; the built-in hardware variants are used\n", path.c_str(), line, reason);
}

} // namespace

std::optional<std::vector<QorHwVariant>> readVariantFile(const std::string& path) {
    errno = 0;
    std::ifstream file(path);
    if (!file && errno == ENOENT) {
        return std::nullopt;
    }
    std::vector<QorHwVariant> rows;
    unsigned number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        const auto words = readWords(line);
        if (!words || (!words->empty() && words->size() != WordsInRow)) {
            complain(path, number, "not a row of 16 integers");
            return std::nullopt;
        }
        if (!words->empty()) {
            rows.push_back(makeRow(*words));
        }
    }
    if (!file.eof()) {
        complain(path, number, std::strerror(errno));
        return std::nullopt;
    }
    return rows;
}
