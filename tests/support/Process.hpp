#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace test {

/// How a process ended, and what it wrote.
struct Outcome {
    int status; // exit status, or minus the signal that ended it
    std::string out;
    std::string err;
};

/// Runs `body` in a forked child beside the test, which then exits normally; status 1 when an
/// assertion failed in it.
class Child {
public:
    explicit Child(const std::function<void()>& body) noexcept;
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t pid() const { return m_pid; }
    /// Waits for the end; call it once.
    Outcome wait();

private:
    int m_out;
    int m_err;
    pid_t m_pid;
};

/// As above, to its end.
inline Outcome inChild(const std::function<void()>& body) {
    return Child(body).wait();
}

/// What `body` logs, to its end in a child, where all that it expects has to hold.
std::string logOf(const std::function<void()>& body);

using Words = std::vector<std::string>;

/// Becomes the program, which `launcher` starts and, for another machine's programs, the emulator.
[[noreturn]] void execute(const Words& command, const Words& launcher = {});

inline Outcome runProgram(const Words& command) {
    return inChild([&] { execute(command); });
}

/// Level and text of the layer's records, a line each, and nothing else of the output.
std::string recordsIn(const std::string& output);

/// How often `text` occurs.
int countOf(std::string_view output, std::string_view text);

} // namespace test
