#include "Process.hpp"

#include "Unit.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <regex>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {
namespace {

std::string takeContent(int fd) {
    std::string content = unit::readFile("/proc/self/fd/" + std::to_string(fd));
    close(fd);
    return content;
}

} // namespace

Child::Child(const std::function<void()>& body) noexcept
    : m_out(memfd_create("stdout", 0)), m_err(memfd_create("stderr", 0)) {
    fcntl(m_err, F_SETFL, O_APPEND); // else threads that log at once overwrite each other's records
    std::fflush(nullptr);
    m_pid = fork();
    if (m_pid == 0) {
        dup2(m_out, STDOUT_FILENO);
        dup2(m_err, STDERR_FILENO);
        body();
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    }
}

Child::~Child() {
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        wait();
    }
}

void Child::waitForStop() const {
    waitpid(m_pid, nullptr, WUNTRACED);
}

Outcome Child::wait() {
    int status = 0;
    TEMP_FAILURE_RETRY(waitpid(m_pid, &status, 0));
    m_pid = -1;
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return {code, takeContent(m_out), takeContent(m_err)};
}

std::string logOf(const std::function<void()>& body) {
    const Outcome outcome = inChild(body);
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    return outcome.err;
}

void limit(__rlimit_resource resource, rlim_t value) {
    rlimit limits = {};
    getrlimit(resource, &limits);
    limits.rlim_cur = value;
    ASSERT_EQ(setrlimit(resource, &limits), 0);
}

std::string recordsIn(const std::string& output) {
    static const std::regex record(
        R"(\[(bsp\.core|Bsp\.WarmDatabase|bsp\.networking)\] (\d) )"
        R"(os_extensions/bsp/src/(Bsp|WarmDatabase|WarmSlot):[1-9]\d* (\S+): ((ENTER )?\4\(.*\n))");
    return std::regex_replace(output, record, "$2 $5", std::regex_constants::format_no_copy);
}

int countOf(std::string_view output, std::string_view text) {
    int count = 0;
    for (auto at = output.find(text); at != std::string_view::npos;
         at = output.find(text, at + 1)) {
        ++count;
    }
    return count;
}

} // namespace test
