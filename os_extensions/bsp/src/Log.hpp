/// Logging of the layer. A message is one record of a module's trace object:
///
///     BSP_LOG(coreLog(), 1, "Unknown product ID: ", code);
///
/// Below the level nothing is evaluated. Otherwise all pieces are evaluated first and the record is
/// begun, filled and ended only then, so a piece may itself log. errno is as before afterwards,
/// also when a piece throws.
#pragma once

#include "TolvTrace.hpp"

#include <array>
#include <cerrno>
#include <concepts>
#include <initializer_list>
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

/// One part of a message: a text, which must outlive the piece, or a number as its digits.
class LogPiece {
public:
    LogPiece(std::string_view text) : m_text(text) {}
    LogPiece(const char* text);
    LogPiece(const std::string& text) : m_text(text) {}
    template <std::integral Number>
    LogPiece(Number number, int base = 10) {
        const auto wide = static_cast<unsigned long long>(number);
        const bool negative = std::cmp_less(number, 0);
        setDigits(negative, negative ? 0 - wide : wide, base);
    }
    LogPiece(const LogPiece&) = delete;
    LogPiece& operator=(const LogPiece&) = delete;

    std::string_view text() const noexcept { return m_text; }

private:
    // Out of line: messages are many and seldom written.
    void setDigits(bool negative, unsigned long long magnitude, int base);

    std::array<char, 24> m_digits;
    std::string_view m_text;
};

/// A module's trace object, with the source name that its records carry.
class LogModule {
public:
    LogModule(const char* traceName, const char* sourceFile)
        : m_trace(traceName, TolvTraceLevel{3}), m_sourceFile(sourceFile) {}

    bool isEnabled(int level) const noexcept { return m_trace.isEnabled(TolvTraceLevel{level}); }
    void write(
        int level, unsigned line, const char* function, std::initializer_list<LogPiece> pieces);

private:
    TolvTrace m_trace;
    const char* m_sourceFile;
};

} // namespace os::bsp

// A lambda of its own keeps what a message needs out of functions that mostly do not log.
#define BSP_LOG_RECORD(module, level, line, function, ...)                                         \
    do {                                                                                           \
        if (::os::bsp::LogModule& logModule = (module); logModule.isEnabled(level)) {              \
            const char* const logFunction = (function);                                            \
            const auto writeRecord = [&]() BSP_SELDOM {                                            \
                const ::os::bsp::ErrnoGuard errnoGuard;                                            \
                logModule.write(level, line, logFunction, {__VA_ARGS__});                          \
            };                                                                                     \
            writeRecord();                                                                         \
        }                                                                                          \
    } while (false)
#define BSP_SELDOM __attribute__((noinline, cold))

/// A message led by the function's name.
#define BSP_LOG(module, level, ...) BSP_LOG_AT(module, level, __LINE__, __func__, __VA_ARGS__)

/// A message in the name of another function, such as the caller.
#define BSP_LOG_AT(module, level, line, function, ...)                                             \
    BSP_LOG_RECORD(module, level, line, function, logFunction, "(): ", __VA_ARGS__)

/// An entry trace; the pieces give the parentheses and what stands in them.
#define BSP_LOG_ENTER(module, ...)                                                                 \
    BSP_LOG_RECORD(module, 6, __LINE__, __func__, "ENTER ", logFunction, __VA_ARGS__)
