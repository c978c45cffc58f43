#include "Process.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <sstream>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {
namespace {

// Appending, so that threads and processes that write at once lose nothing.
int openCapture(const char* name) {
    const int fd = memfd_create(name, 0);
    fcntl(fd, F_SETFL, O_APPEND);
    return fd;
}

std::string takeContent(int fd) {
    std::string content;
    char chunk[4096];
    lseek(fd, 0, SEEK_SET);
    for (ssize_t count; (count = read(fd, chunk, sizeof chunk)) > 0;) {
        content.append(chunk, static_cast<std::size_t>(count));
    }
    close(fd);
    return content;
}

[[noreturn]] void runBody(const std::function<void()>& body, int out, int err) {
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    try {
        body();
    } catch (const std::exception& exception) {
        ADD_FAILURE() << exception.what();
    }
    std::exit(testing::Test::HasFailure() ? 1 : 0);
}

} // namespace

Child::Child(const std::function<void()>& body)
    : m_out(openCapture("stdout")), m_err(openCapture("stderr")) {
    std::fflush(nullptr);
    m_pid = fork();
    if (m_pid == 0) {
        runBody(body, m_out, m_err);
    }
}

Child::~Child() {
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        wait();
    }
}

Outcome Child::wait() {
    int status = 0;
    while (waitpid(m_pid, &status, 0) == -1 && errno == EINTR) {
    }
    m_pid = -1;
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return {code, takeContent(m_out), takeContent(m_err)};
}

Outcome inChild(const std::function<void()>& body) {
    return Child(body).wait();
}

std::vector<std::string> launchable(const std::vector<std::string>& command) {
    std::istringstream emulator(BSP_EMULATOR);
    std::vector<std::string> words{std::istream_iterator<std::string>(emulator), {}};
    words.insert(words.end(), command.begin(), command.end());
    return words;
}

Outcome runProgram(
    const std::vector<std::string>& command, const std::vector<std::string>& environment) {
    return inChild([&] {
        for (const std::string& assignment : environment) {
            putenv(const_cast<char*>(assignment.c_str()));
        }
        std::vector<std::string> launched = launchable(command);
        std::vector<char*> words;
        for (std::string& word : launched) {
            words.push_back(word.data());
        }
        words.push_back(nullptr);
        execvp(words[0], words.data());
        std::perror(words[0]);
        _exit(127);
    });
}

int countLines(std::string_view output, std::string_view text) {
    int count = 0;
    while (!output.empty()) {
        const auto end = std::min(output.find('\n'), output.size() - 1);
        count += output.substr(0, end).find(text) != std::string_view::npos ? 1 : 0;
        output.remove_prefix(end + 1);
    }
    return count;
}

} // namespace test
