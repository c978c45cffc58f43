#include "bsp/Bsp.h"

#include <cstdio>
#include <string_view>

namespace {

struct Function {
    const char* name;
    const char* description;
    int (*handler)(int argc, char** argv); // of what follows the name; returns the exit status
};

int writeConfig(int /*argc*/, char** /*argv*/) {
    return Idt_writeConfig() < 0 ? 1 : 0;
}

constexpr Function Functions[] = {
    {"writeConfig", "write config values to idt device", writeConfig},
};

int showUsage(const char* program) {
    std::fprintf(stderr, "Usage: %s <function> [arguments]\n\n", program);
    for (const Function& function : Functions) {
        std::printf("%-20s: %s\n", function.name, function.description);
    }
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        return showUsage(argc > 0 ? argv[0] : "bsptool");
    }
    for (const Function& function : Functions) {
        if (std::string_view(function.name) == argv[1]) {
            return function.handler(argc - 2, argc > 2 ? argv + 2 : nullptr);
        }
    }
    std::fprintf(stderr, "Unknown function: %s\n", argv[1]);
    return 1;
}
