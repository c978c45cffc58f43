// Adds events to a log that survives warm restarts, and shows the last ones: event-log [EVENT...]
//
// Any number of processes may run this at once. A process that is killed while it adds an event
// loses that event at most.
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

// Version of the format; not 0, because a new object is all zeroes.
constexpr std::uint32_t Filled = 1;

constexpr std::uint32_t Places = 23;
constexpr std::uint32_t Kept = Places - 1; // the next place may hold a half-written event

using Event = std::array<char, 64>; // a longer text is cut, a shorter one padded with zeroes

struct EventLog {
    std::uint32_t marker;
    std::uint32_t count; // of all events since the last cold restart
    std::array<Event, Places> events;
};

static_assert(sizeof(EventLog) <= os::bsp::dtcm::MaxObjectSize);

// Release order: all earlier stores are in memory before the value that makes them count.
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

    // Keep this part short and free of failures: if a process dies here, the mutex stays locked
    // until a restart.
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
