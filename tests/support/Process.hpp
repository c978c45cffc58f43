#pragma once

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/types.h>

namespace test {

/// How a process ended, and what it wrote.
struct Outcome {
    int status; // exit status, or minus the signal that ended it
    std::string out;
    std::string err;
};

/// Runs `body` in a forked child while the test goes on. The child then exits normally, with status
/// 1 if an assertion failed in it.
class Child {
public:
    explicit Child(const std::function<void()>& body) noexcept;
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t pid() const { return m_pid; }
    /// Waits until the child has stopped itself.
    void waitForStop() const;
    /// Waits until the child ends; call it once.
    Outcome wait();

private:
    int m_out;
    int m_err;
    pid_t m_pid;
};

/// Runs `body` in a child, and waits until it ends.
inline Outcome inChild(const std::function<void()>& body) {
    return Child(body).wait();
}

/// Runs `body` in a child, and returns what it logs. Fails the test if an assertion fails in it.
std::string logOf(const std::function<void()>& body);

inline auto countFiles(const std::filesystem::path& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

void limit(__rlimit_resource resource, rlim_t value);

/// `count` calls of a library's function, from the `first`-th on, give -1 and the error, or do
/// nothing and give 0 if that is 0.
struct Fault {
    std::string_view symbol;
    int first = 1;
    int error = 0;
    int count = 1;
};

inline Fault pending;

/// Returns the library's function that the test program's own replaces.
template <class Function>
Function* original(Function& /*own*/, const char* symbol) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

/// The body of the test program's own function: applies `pending`, or calls the library's function.
template <class Function, class... Arguments>
auto answer(Function& own, const char* symbol, Arguments... arguments) {
    if (pending.symbol == symbol && --pending.first <= 0 && --pending.count >= 0) {
        errno = pending.error;
        return decltype(own(arguments...))(pending.error == 0 ? 0 : -1);
    }
    return original(own, symbol)(arguments...);
}

/// Returns level and text of each of the layer's records, one per line, without any other output.
std::string recordsIn(const std::string& output);

/// Returns how often `text` occurs.
int countOf(std::string_view output, std::string_view text);

} // namespace test
