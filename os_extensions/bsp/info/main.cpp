/// bspinfo: identifies the unit and explains how it knows. It changes nothing on the unit.
#include "Commands.hpp"
#include "Printable.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>

#include <getopt.h>

namespace {

using namespace bspinfo;

constexpr int Unreadable = 2;
constexpr int WrongUsage = 64; // EX_USAGE of sysexits.h

constexpr const char* Usage =
    "Usage: bspinfo [--format=FORMAT] [--explain] [FIELD...]\n"
    "       bspinfo [--format=FORMAT] --software [IMAGE...]\n"
    "       bspinfo warm [--format=FORMAT] [--object=NAME] [--save=FILE] [DUMP]\n"
    "       bspinfo clock [--format=FORMAT] [--verbose] CONFIGURATION\n"
    "       bspinfo --help | --version\n";

constexpr const char* Options = "\n"
                                "  --format=FORMAT  text, shell (assignments for eval) or json\n"
                                "  --explain        also what each answer rests on\n"
                                "  --software       the revisions of kernel and boot loader\n"
                                "  --object=NAME    all bytes of one object\n"
                                "  --save=FILE      also write the warm area to a new file\n"
                                "  --verbose        also each register of the clock chip\n"
                                "  -h, --help       this text\n"
                                "  --version        the version\n"
                                "\n"
                                "Fields:\n";

// Options without a letter have numbers above all characters.
enum OptionNumber : int { Format = 256, Explain, Software, Object, Save, Verbose, Help, Version };

constexpr option OptionRows[] = {
    {"format", required_argument, nullptr, Format},
    {"explain", no_argument, nullptr, Explain},
    {"software", no_argument, nullptr, Software},
    {"object", required_argument, nullptr, Object},
    {"save", required_argument, nullptr, Save},
    {"verbose", no_argument, nullptr, Verbose},
    {"help", no_argument, nullptr, Help},
    {"version", no_argument, nullptr, Version},
    {},
};

constexpr unsigned bit(int option) {
    return 1U << (option - Format);
}

using Operands = std::span<char* const>;

// The exit status if the program ends at this point.
using Exit = std::optional<int>;

int refuse(const std::string& what, const std::string& why) {
    std::fprintf(
        stderr, "bspinfo: %s: %s\n%s", printable(what).c_str(), printable(why).c_str(), Usage);
    return WrongUsage;
}

Exit checkFields(Operands names) {
    for (const char* const name : names) {
        if (!isField(name)) {
            return refuse(name, "there is no field of this name");
        }
    }
    return {};
}

Exit checkImages(Operands /*files*/) {
    return {};
}

Exit checkDump(Operands files) {
    return files.size() <= 1 ? Exit() : refuse("warm", "at most one DUMP file expected");
}

Exit checkConfiguration(Operands files) {
    return files.size() == 1 ? Exit() : refuse("clock", "exactly one CONFIGURATION file expected");
}

struct Command {
    Report (*run)(const Request& request);
    Exit (*check)(Operands operands);
    unsigned options;
};

constexpr Command Identify = {identify, checkFields, bit(Format) | bit(Explain)};
constexpr Command Revisions = {software, checkImages, bit(Format) | bit(Software)};
constexpr Command Warm = {warm, checkDump, bit(Format) | bit(Object) | bit(Save)};
constexpr Command Clock = {bspinfo::clock, checkConfiguration, bit(Format) | bit(Verbose)};

int showHelp() {
    std::printf("%s%s", Usage, Options);
    listFields();
    return EXIT_SUCCESS;
}

int showVersion() {
    std::puts("bspinfo " BSP_VERSION);
    return EXIT_SUCCESS;
}

// The option that getopt could not read. Inside a cluster of letters, optind is still at the
// cluster, so optopt names the letter.
std::string unreadOption(char** argv) {
    const bool isLetter = optopt > 0 && optopt < Format;
    return isLetter ? std::string("-") + static_cast<char>(optopt) : argv[optind - 1];
}

Exit takeFormat(Request& request) {
    request.format = findFormat(optarg);
    return request.format != nullptr ? Exit() : refuse(optarg, "there is no format of this name");
}

Exit takeName(const char* option, std::string& name) {
    name = optarg;
    return name.empty() ? refuse(option, "a name is missing") : Exit();
}

Exit takeOption(int option, char** argv, Request& request) {
    switch (option) {
    case Format:
        return takeFormat(request);
    case Object:
        return takeName("--object", request.object);
    case Save:
        return takeName("--save", request.saved);
    case Explain:
    case Software:
    case Verbose:
        request.explain = request.explain || option == Explain;
        request.verbose = request.verbose || option == Verbose;
        return {};
    case 'h':
    case Help:
        return showHelp();
    case Version:
        return showVersion();
    default:
        return refuse(unreadOption(argv), option == ':' ? "a value is missing" : "wrong option");
    }
}

const Command& takeCommand(Request& request, unsigned given) {
    const std::string_view word = request.operands.empty() ? "" : request.operands.front();
    if ((given & bit(Software)) != 0) {
        return Revisions;
    }
    if (word != "warm" && word != "clock") {
        return Identify;
    }
    request.operands = request.operands.subspan(1);
    return word == "warm" ? Warm : Clock;
}

Exit checkOptions(unsigned foreign) {
    for (const option& row : OptionRows) {
        if (row.name != nullptr && (foreign & bit(row.val)) != 0) {
            return refuse(std::string("--") + row.name, "belongs to another command");
        }
    }
    return {};
}

int run(int argc, char** argv) {
    Request request;
    unsigned given = 0;
    opterr = 0; // getopt would print the user's text with its control characters
    for (int option = 0; (option = getopt_long(argc, argv, ":h", OptionRows, nullptr)) != -1;) {
        if (const Exit exit = takeOption(option, argv, request)) {
            return *exit;
        }
        given |= bit(option);
    }
    request.operands = Operands(argv + optind, argv + argc);
    const Command& command = takeCommand(request, given);
    const Exit wrong = checkOptions(given & ~command.options);
    if (const Exit exit = wrong ? wrong : command.check(request.operands)) {
        return *exit;
    }
    const Report report = command.run(request);
    request.format->print(report.answers);
    return report.status;
}

int runOrExplain(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "bspinfo: %s\n", printable(exception.what()).c_str());
        return Unreadable;
    }
}

} // namespace

int main(int argc, char** argv) {
    const int status = runOrExplain(argc, argv);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::perror("bspinfo: standard output");
        return Unreadable;
    }
    return status;
}
