#include "TraceLevels.hpp"

#include "TolvTrace.hpp"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace {

using Levels = std::map<std::string, int, std::less<>>;

constexpr std::string_view EveryTrace = "*";

void readAssignment(std::string_view assignment, Levels& levels) {
    const auto equals = assignment.find('=');
    const auto name = assignment.substr(0, equals);
    const auto number = equals == std::string_view::npos ? "" : assignment.substr(equals + 1);
    int level = 0;
    const auto parsed = std::from_chars(number.begin(), number.end(), level);
    if (name.empty() || parsed.ec != std::errc{} || parsed.ptr != number.end()) {
        std::fprintf(
            stderr, "TOLVTRACE_LEVELS: \"%.*s\" is not <trace>=<level>, ignored\n",
            static_cast<int>(assignment.size()), assignment.data());
        return;
    }
    levels.insert_or_assign(std::string(name), level);
}

Levels levelsFromEnvironment() {
    Levels levels;
    const char* const text = secure_getenv("TOLVTRACE_LEVELS");
    std::string_view rest = text != nullptr ? text : "";
    while (!rest.empty()) {
        const auto comma = rest.find(',');
        readAssignment(rest.substr(0, comma), levels);
        rest = comma == std::string_view::npos ? "" : rest.substr(comma + 1);
    }
    return levels;
}

class Registry {
public:
    void add(TolvTrace& trace, int level) {
        const std::lock_guard lock(m_mutex);
        m_traces.insert(&trace);
        auto wanted = m_levels.find(trace.name());
        if (wanted == m_levels.end()) {
            wanted = m_levels.find(EveryTrace);
        }
        trace.setLevel(wanted != m_levels.end() ? wanted->second : level);
    }

    void remove(TolvTrace& trace) {
        const std::lock_guard lock(m_mutex);
        m_traces.erase(&trace);
    }

    void setLevel(std::string_view name, int level) {
        const std::lock_guard lock(m_mutex);
        if (name == EveryTrace) {
            m_levels.clear();
        }
        m_levels.insert_or_assign(std::string(name), level);
        for (TolvTrace* const trace : m_traces) {
            if (name == EveryTrace || name == trace->name()) {
                trace->setLevel(level);
            }
        }
    }

private:
    std::mutex m_mutex;
    std::set<TolvTrace*> m_traces;
    Levels m_levels = levelsFromEnvironment();
};

Registry& registry() {
    static Registry& immortal = *new Registry;
    return immortal;
}

} // namespace

void trace_levels::add(TolvTrace& trace, int level) {
    registry().add(trace, level);
}

void trace_levels::remove(TolvTrace& trace) {
    registry().remove(trace);
}

void TolvTrace_setLevel(const char* trace, int level) {
    if (trace != nullptr) {
        registry().setLevel(trace, level);
    }
}
