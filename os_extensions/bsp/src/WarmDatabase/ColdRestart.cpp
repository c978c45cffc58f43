#include "ColdRestart.hpp"

#include "DatabaseLog.hpp"
#include "InitError.hpp"

namespace os::bsp::dtcm::cold_restart {
namespace {

std::byte* area = nullptr;
bool areaIsShared = false;

std::atomic<ColdRestart>* note() {
    RunRecord* const record = areaIsShared ? databaseLock().record() : nullptr;
    return record != nullptr ? &record->coldRestart : nullptr;
}

bool isDue() {
    const auto* const noted = note();
    return noted != nullptr && noted->load(std::memory_order_relaxed) == ColdRestart::Due;
}

// The caller holds the lock. Returns what it has done, as a text.
const char* clearIfCold(ResetType cause) {
    auto* const noted = note();
    const bool handled = noted != nullptr && *noted == ColdRestart::Handled;
    const bool clear = cause == ResetType::Cold && !handled;
    if (clear) {
        warmArea(area).clear();
    }
    if (noted != nullptr) {
        *noted = ColdRestart::Handled;
    }
    if (clear) {
        return "COLD restart, clearing database.";
    }
    return cause == ResetType::Cold ? "COLD restart already handled, leaving database as is."
                                    : "WARM restart, leaving database as is.";
}

void catchUp(const WarmDatabase& database) {
    try {
        const ResetType cause = getResetType(); // not to be asked while the lock is held
        DatabaseLock::Hold hold;
        databaseLock().take(hold);
        handle(cause, hold, database);
    } catch (...) {
        reportCaught(databaseLog(), "clearDatabaseIfColdRestart");
    }
}

} // namespace

void useArea(std::byte* memory, bool shared) {
    area = memory;
    areaIsShared = shared;
}

void noteDue() {
    if (auto* const noted = note()) {
        auto unasked = ColdRestart::Unasked;
        noted->compare_exchange_strong(unasked, ColdRestart::Due);
    }
}

void handle(ResetType cause, const DatabaseLock::Hold& hold, const WarmDatabase& database) {
    const char* const text = clearIfCold(cause);
    databaseLock().give(hold);
    report(hold);
    BSP_LOG_AT(databaseLog(), 5, __LINE__, "clearDatabaseIfColdRestart", text);
    database.logNamesOfUsedBlocks();
}

void lock(DatabaseLock::Hold& hold, const WarmDatabase& database) {
    databaseLock().take(hold);
    if (isDue()) {
        databaseLock().give(hold);
        report(hold);
        catchUp(database);
        databaseLock().take(hold);
    }
}

} // namespace os::bsp::dtcm::cold_restart
