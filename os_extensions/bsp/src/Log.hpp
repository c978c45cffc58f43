/// Logging of the layer. A message is one record of a module's trace object:
///
///     BSP_LOG(coreLog(), 1, "Unknown product ID: ", code);
///
/// If the level is off, no argument is evaluated. Otherwise all pieces are evaluated before the
/// record is begun, so a piece may itself log. errno stays as it was, also if a piece throws.
#pragma once

#include "TolvTrace.hpp"

#include <array>
#include <cerrno>
#include <concepts>
#include <initializer_list>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace os::bsp {

class ErrnoGuard {
public:
    ErrnoGuard() noexcept : m_saved(errno) {}
    ~ErrnoGuard() { errno = m_saved; }
    ErrnoGuard(const ErrnoGuard&) = delete;
    ErrnoGuard& operator=(const ErrnoGuard&) = delete;

private:
    int m_saved;
};

/// One part of a message: a text, which must outlive the piece, or a number as its decimal digits.
class LogPiece {
public:
    LogPiece(std::string_view text) : m_text(text) {}
    LogPiece(const char* text);
    LogPiece(const std::string& text) : m_text(text) {}
    LogPiece(std::integral auto number) : LogPiece(number, 10) {}
    LogPiece(const LogPiece&) = delete;
    LogPiece& operator=(const LogPiece&) = delete;

    std::string_view text() const noexcept { return m_text; }

private:
    friend LogPiece hex(std::integral auto number);

    LogPiece(std::integral auto number, int base) {
        const auto wide = static_cast<unsigned long long>(number);
        const bool negative = std::cmp_less(number, 0);
        setDigits(negative, negative ? 0 - wide : wide, base);
    }
    // Out of line to keep call sites small; most messages are below the level.
    void setDigits(bool negative, unsigned long long magnitude, int base);

    std::array<char, 24> m_digits;
    std::string_view m_text;
};

/// A number as its hexadecimal digits: lower case, no "0x".
LogPiece hex(std::integral auto number) {
    return {number, 16};
}

/// A module's trace object, with the source name that its records carry.
class LogModule {
public:
    LogModule(const char* traceName, const char* sourceFile)
        : m_trace(traceName, TolvTraceLevel{3}), m_sourceFile(sourceFile) {}

    bool isEnabled(int level) const noexcept { return m_trace.isEnabled(TolvTraceLevel{level}); }

private:
    friend class LogRecord;

    TolvTrace m_trace;
    const char* m_sourceFile;
};

/// A record to be written. It is constructed before its pieces are evaluated, and its destructor
/// restores errno.
class LogRecord {
public:
    using Pieces = std::initializer_list<LogPiece>;

    [[gnu::cold]] LogRecord(LogModule& module, int level, unsigned line, const char* function)
        : m_module(module), m_level(level), m_line(line), m_function(function) {}

    [[gnu::cold]] void writeMessage(Pieces pieces);
    [[gnu::cold]] void writeEntry(Pieces pieces);

private:
    void write(Pieces lead, Pieces pieces);

    ErrnoGuard m_errnoGuard;
    LogModule& m_module;
    int m_level;
    unsigned m_line;
    const char* m_function;
};

/// A static object that is never destroyed: at exit, other threads and later destructors may still
/// use it.
template <class Type>
class Immortal {
public:
    template <class... Arguments>
    explicit Immortal(Arguments&&... arguments) {
        new (m_memory) Type(std::forward<Arguments>(arguments)...);
    }
    Immortal(const Immortal&) = delete;
    Immortal& operator=(const Immortal&) = delete;

    Type& get() noexcept { return *std::launder(reinterpret_cast<Type*>(m_memory)); }

private:
    alignas(Type) unsigned char m_memory[sizeof(Type)];
};

/// The trace of board identity and software revision. Like the other two, it is created before
/// main: at the latest by Log.cpp, earlier if a static constructor calls the layer.
inline LogModule& coreLog() {
    static Immortal<LogModule> module("bsp.core", "os_extensions/bsp/src/Bsp");
    return module.get();
}

/// The trace of the warm database.
inline LogModule& databaseLog() {
    static Immortal<LogModule> module("Bsp.WarmDatabase", "os_extensions/bsp/src/WarmDatabase");
    return module.get();
}

/// The trace of the slot id.
inline LogModule& slotLog() {
    static Immortal<LogModule> module("bsp.networking", "os_extensions/bsp/src/WarmSlot");
    return module.get();
}

/// The text for everything that start-up cannot set up and goes on without.
inline constexpr const char* InitError = "Error during initialization of warm area";

/// Call it in a catch (...) handler: logs the exception in the name of `function`.
void reportCaught(LogModule& module, const char* function);

} // namespace os::bsp

// The macros declare no variables, so arguments cannot be shadowed.

/// A message led by the function's name.
#define BSP_LOG(module, level, ...) BSP_LOG_AT(module, level, __LINE__, __func__, __VA_ARGS__)

/// A message in the name of another function, such as the caller.
#define BSP_LOG_AT(module, level, line, function, ...)                                             \
    do {                                                                                           \
        if ((module).isEnabled(level)) {                                                           \
            ::os::bsp::LogRecord(module, level, line, function).writeMessage({__VA_ARGS__});       \
        }                                                                                          \
    } while (false)

/// An entry trace; the pieces are the parentheses and their content.
#define BSP_LOG_ENTER(module, ...)                                                                 \
    do {                                                                                           \
        if ((module).isEnabled(6)) {                                                               \
            ::os::bsp::LogRecord(module, 6, __LINE__, __func__).writeEntry({__VA_ARGS__});         \
        }                                                                                          \
    } while (false)
