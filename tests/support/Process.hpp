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

/// Runs `body` in a forked child that then exits normally; status 1 when an assertion failed in it.
Outcome inChild(const std::function<void()>& body);

/// As above, for a process that runs beside the test.
class Child {
public:
    explicit Child(const std::function<void()>& body);
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

/// The command behind the emulator that these programs need, if they need one.
std::vector<std::string> launchable(const std::vector<std::string>& command);

/// Runs a program with NAME=VALUE additions to its environment.
Outcome runProgram(
    const std::vector<std::string>& command, const std::vector<std::string>& environment = {});

/// The lines that contain `text`.
int countLines(std::string_view output, std::string_view text);

} // namespace test
