#include "WarmUsers.hpp"

#include "File.hpp"
#include "Printable.hpp"
#include "WarmDatabase/Layout.hpp"
#include "WarmDatabase/RunRecord.hpp"

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace bspinfo {
namespace {

using namespace os::bsp::dtcm;

enum class Use { No, Yes, Hidden };

bool isNumber(const std::string& text) {
    return text.find_first_not_of("0123456789") == std::string::npos;
}

// A process that has ended meanwhile uses nothing.
Use useOf(const std::string& process) {
    const auto maps = posix::readFile("/proc/" + process + "/maps");
    if (!maps) {
        return errno == ENOENT || errno == ESRCH ? Use::No : Use::Hidden;
    }
    for (const char* const shared : {SyncAreaName, RunRecordName, WarmAreaDevice}) {
        if (maps->find(shared) != std::string::npos) {
            return Use::Yes;
        }
    }
    return Use::No;
}

} // namespace

std::string numberAndName(const std::string& number) {
    const std::string name = posix::readFile("/proc/" + number + "/comm").value_or("");
    return name.empty() ? number : number + " " + printable(name.substr(0, name.size() - 1));
}

std::string describeUsers() {
    std::error_code error;
    const std::string self = std::filesystem::read_symlink("/proc/self", error);
    std::string users;
    int hidden = 0;
    std::filesystem::directory_iterator process("/proc", error);
    for (; !error && process != std::filesystem::directory_iterator(); process.increment(error)) {
        const std::string number = process->path().filename();
        const Use use = isNumber(number) && number != self ? useOf(number) : Use::No;
        hidden += use == Use::Hidden ? 1 : 0;
        if (use == Use::Yes) {
            users += (users.empty() ? "" : ", ") + numberAndName(number);
        }
    }
    if (error) {
        return "/proc cannot be read: " + error.message();
    }
    users = users.empty() ? "nobody" : users;
    return hidden == 0 ? users : users + " (" + std::to_string(hidden) + " may not be looked at)";
}

} // namespace bspinfo
