/// bspctl: shows and sets the settings that the unit stores.
#include "Settings.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

using namespace bspctl;

constexpr int WrongUsage = 64; // EX_USAGE of sysexits.h

using Words = std::span<char* const>;

bool contains(Words words, std::string_view wanted) {
    return std::find(words.begin(), words.end(), wanted) != words.end();
}

int showHelp() {
    const char* start = "Usage:";
    for (const Setting& setting : settings()) {
        std::printf("%-6s bspctl %s [%s]\n", start, setting.name, setting.values);
        start = "";
    }
    std::puts("       bspctl --help | --version\n\nShows a setting, or sets it:");
    for (const Setting& setting : settings()) {
        std::printf("  %-15s %s\n", setting.name, setting.description);
    }
    return EXIT_SUCCESS;
}

int showVersion() {
    std::puts("bspctl " BSP_VERSION);
    return EXIT_SUCCESS;
}

int refuse(const char* what, const char* expected) {
    std::fprintf(stderr, "bspctl: %s: expected %s\n", what, expected);
    return WrongUsage;
}

int showOrSet(const Setting& setting, Words values) {
    try {
        if (values.empty()) {
            std::puts(setting.show().c_str());
        } else if (!setting.set(values.front())) {
            return refuse(setting.name, setting.expected);
        }
        return EXIT_SUCCESS;
    } catch (const std::exception& exception) {
        const char* const failure = values.empty() ? "read" : "stored";
        std::fprintf(
            stderr, "bspctl: %s cannot be %s: %s\n", setting.name, failure, exception.what());
        return EXIT_FAILURE;
    }
}

int run(Words words) {
    if (contains(words, "--help") || contains(words, "-h")) {
        return showHelp();
    }
    if (contains(words, "--version")) {
        return showVersion();
    }
    for (const Setting& setting : settings()) {
        if (!words.empty() && std::string_view(setting.name) == words.front()) {
            return words.size() > 2 ? refuse(setting.name, "one value")
                                    : showOrSet(setting, words.subspan(1));
        }
    }
    return refuse("usage", "slot-id [NUMBER], radiolink-mode [Rl4|Rl5|default] or --help");
}

} // namespace

int main(int argc, char** argv) {
    const int status = run(Words(argv, argv + argc).subspan(argc > 0 ? 1 : 0));
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::perror("bspctl: standard output");
        return EXIT_FAILURE;
    }
    return status;
}
