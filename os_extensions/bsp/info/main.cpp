/// bspinfo: what this unit is, and why. It changes nothing that the unit has.
#include "Commands.hpp"
#include "FileDescriptor.hpp"
#include "Identity.hpp"
#include "Printable.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <getopt.h>
#include <unistd.h>

namespace {

using namespace bspinfo;

constexpr int WrongUsage = 64; // as sysexits.h has it

using Arguments = std::span<char* const>;

constexpr const char* Usage = "Usage: bspinfo [--format=text|shell|json] [--explain] [FIELD...]\n"
                              "       bspinfo [--format=text|shell|json] --software [IMAGE...]\n"
                              "       bspinfo warm [--map[=FILE.svg]] [--save=FILE] [DUMP]\n"
                              "       bspinfo clock CONFIGURATION\n"
                              "       bspinfo --help\n";

// While it lives, what the layer reports on standard error goes nowhere: an answer tells what is
// wrong, and a unit's trace library may have no control of levels.
class Silence {
public:
    Silence()
        : m_standardError(
              posix::FileDescriptor::own(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO))) {
        const auto nowhere = posix::FileDescriptor::own(open("/dev/null", O_WRONLY | O_CLOEXEC));
        if (m_standardError && nowhere) {
            dup2(nowhere.get(), STDERR_FILENO);
        }
    }
    ~Silence() {
        if (m_standardError) {
            dup2(m_standardError.get(), STDERR_FILENO);
        }
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    posix::FileDescriptor m_standardError;
};

int refuse(const char* what, std::string_view word) {
    std::fprintf(stderr, "bspinfo: %s: %s\n%s", what, printable(std::string(word)).c_str(), Usage);
    return WrongUsage;
}

int showHelp() {
    std::fputs(Usage, stdout);
    std::puts("\nFields:");
    for (const Field& field : fields()) {
        std::printf("  %s\n", field.name);
    }
    return EXIT_SUCCESS;
}

int statusOf(const Answers& answers) {
    State worst = State::Known;
    for (const NamedAnswer& named : answers) {
        worst = std::max(worst, named.answer.state);
    }
    return static_cast<int>(worst);
}

struct Request {
    const Format* format = findFormat("text");
    bool explain = false;
    bool software = false;
};

Answer askAbout(const Field& field, bool explain) {
    Answer answer = ask(field);
    if (!explain) {
        answer.evidence.clear();
    } else if (answer.state != State::Unreadable) { // which tells enough by itself
        answer.evidence.insert(0, field.evidence());
    }
    return answer;
}

Answers askAbout(std::span<const Field* const> wanted, bool explain) {
    const Silence silence;
    Answers answers = explain ? unitEvidence() : Answers{};
    for (const Field* const field : wanted) {
        answers.push_back({field->name, askAbout(*field, explain)});
    }
    return answers;
}

int identify(const Request& request, Arguments names) {
    std::vector<const Field*> wanted;
    for (const char* const name : names) {
        wanted.push_back(findField(name));
        if (wanted.back() == nullptr) {
            return refuse("there is no field of this name", name);
        }
    }
    for (const Field& field : names.empty() ? fields() : std::span<const Field>()) {
        wanted.push_back(&field);
    }
    const Answers answers = askAbout(wanted, request.explain);
    request.format->print(answers);
    if (const std::string problem = eepromProblem(); !problem.empty()) {
        std::fprintf(stderr, "bspinfo: %s\n", problem.c_str());
        return static_cast<int>(State::Unreadable);
    }
    return statusOf(answers);
}

Answers askImages(Arguments images) {
    const Silence silence;
    return softwareRevisions(images);
}

int tellSoftware(const Request& request, Arguments images) {
    const Answers answers = askImages(images);
    request.format->print(answers);
    return statusOf(answers);
}

constexpr option WarmOptions[] = {
    {"map", optional_argument, nullptr, 'm'},
    {"save", required_argument, nullptr, 's'},
    {},
};

int runWarm(int argc, char** argv) {
    WarmRequest request;
    for (int choice = 0; (choice = getopt_long(argc, argv, "", WarmOptions, nullptr)) != -1;) {
        if (optarg != nullptr && *optarg == '\0') {
            return refuse("wanted is the name of a file", argv[optind - 1]);
        }
        switch (choice) {
        case 'm':
            request.picture = optarg != nullptr ? optarg : "";
            request.map = optarg != nullptr ? Map::Svg : Map::Text;
            break;
        case 's':
            request.saved = optarg;
            break;
        default: // it has told why
            std::fputs(Usage, stderr);
            return WrongUsage;
        }
    }
    if (argc - optind > 1) {
        return refuse("wanted is one dump", argv[optind + 1]);
    }
    if (optind < argc && *argv[optind] == '\0') {
        return refuse("wanted is the name of a file", "warm ''");
    }
    request.dump = optind < argc ? argv[optind] : "";
    return warm(request);
}

constexpr option Options[] = {
    {"format", required_argument, nullptr, 'f'},
    {"explain", no_argument, nullptr, 'e'},
    {"software", no_argument, nullptr, 's'},
    {},
};

int runQuery(int argc, char** argv) {
    Request request;
    for (int choice = 0; (choice = getopt_long(argc, argv, "", Options, nullptr)) != -1;) {
        switch (choice) {
        case 'f':
            request.format = findFormat(optarg);
            if (request.format == nullptr) {
                return refuse("there is no format of this name", optarg);
            }
            break;
        case 'e':
            request.explain = true;
            break;
        case 's':
            request.software = true;
            break;
        default: // it has told why
            std::fputs(Usage, stderr);
            return WrongUsage;
        }
    }
    const Arguments rest(argv + optind, argv + argc);
    return request.software ? tellSoftware(request, rest) : identify(request, rest);
}

int run(int argc, char** argv) {
    const std::string_view command = argc > 1 ? argv[1] : "";
    if (std::find(argv, argv + argc, std::string_view("--help")) != argv + argc) {
        return showHelp();
    }
    if (command == "warm") {
        return runWarm(argc - 1, argv + 1);
    }
    if (command == "clock" && argc == 3) {
        return bspinfo::clock(argv[2]);
    }
    return command == "clock" ? refuse("wanted is one file", command) : runQuery(argc, argv);
}

} // namespace

int main(int argc, char** argv) {
    const int status = run(argc, argv);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::perror("bspinfo: standard output");
        return static_cast<int>(State::Unreadable);
    }
    return status;
}
