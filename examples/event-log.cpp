// Keeps the unit's last events over warm restarts, adds some and shows all: event-log [EVENT...]
//
// Any number of processes may run this at once. One that is killed while it adds an event loses
// that event at most.
#include "bsp/WarmDatabase.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <mutex>
#include <string_view>

namespace {

using os::bsp::dtcm::WarmDatabase;

// A new object is all zeroes, so the marker is something else: the number of this format.
constexpr std::uint32_t Filled = 1;

constexpr std::uint32_t Places = 23;
constexpr std::uint32_t Kept = Places - 1; // in the place behind them one may be half written

using Event = std::array<char, 64>; // cut there, the rest is zeroes

struct EventLog {
    std::uint32_t marker;
    std::uint32_t count; // of all events since the last cold restart
    std::array<Event, Places> events;
};

static_assert(sizeof(EventLog) <= os::bsp::dtcm::MaxObjectSize);

// What counts is stored last.
void store(std::uint32_t& place, std::uint32_t value) {
    std::atomic_ref(place).store(value, std::memory_order_release);
}

void add(EventLog& log, std::string_view text) {
    Event& event = log.events[log.count % Places];
    event.fill('\0');
    text.copy(event.data(), event.size());
    store(log.count, log.count + 1);
}

void show(const EventLog& log) {
    const auto kept = std::min(log.count, Kept);
    for (std::uint32_t number = log.count - kept; number < log.count; ++number) {
        const Event& event = log.events[number % Places];
        const std::string_view text(event.data(), strnlen(event.data(), event.size()));
        std::cout << number + 1 << ' ' << text << '\n';
    }
}

} // namespace

int main(int argc, char** argv) {
    void* data = nullptr;
    std::mutex* mutex = nullptr;
    bool created = false;
    if (!WarmDatabase::getInstance().getObjectData(
            "EVENTS", &data, sizeof(EventLog), &mutex, created)) {
        std::cerr << "no warm object: see the trace Bsp.WarmDatabase\n";
        return 1;
    }
    auto& log = *static_cast<EventLog*>(data);

    // Nothing here takes long or may fail: who dies here leaves the mutex taken until a restart.
    std::unique_lock lock(*mutex);
    if (log.marker != Filled) {
        log.count = 0;
        store(log.marker, Filled);
    }
    for (int i = 1; i < argc; ++i) {
        add(log, argv[i]);
    }
    const EventLog copy = log;
    lock.unlock();

    show(copy);
    return 0;
}
