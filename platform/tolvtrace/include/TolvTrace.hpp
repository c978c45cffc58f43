/// Trace library. A record becomes one line on standard error, written with one write(2):
///
///     [<trace>] <level> <file>:<line> <function>: <text>
///
/// Control characters in the text are written as \xNN, so a record never spans lines.
/// Start levels come from the environment: TOLVTRACE_LEVELS=bsp.core=7,Bsp.WarmDatabase=5,*=3
/// (a trace's own name goes before "*").
#pragma once

#include "TolvTrace.h"

#include <atomic>
#include <ostream>
#include <streambuf>
#include <string>

enum class TolvTraceLevel : int {};

/// Where a record comes from. The texts must outlive the record.
struct TolvTraceHeader {
    const char* sourceFile;
    unsigned line;
    const char* function;
};

class TolvTraceStream;

/// One named trace. Every operation may be called from any thread. A record belongs to the thread
/// that began it; records may nest, each is written whole when it ends. No operation fails: where
/// memory runs out a record is dropped.
class TolvTrace {
public:
    /// `name` must outlive the process's last record. `level` holds unless the environment or
    /// TolvTrace_setLevel() named another.
    TolvTrace(const char* name, TolvTraceLevel level);
    ~TolvTrace();
    TolvTrace(const TolvTrace&) = delete;
    TolvTrace& operator=(const TolvTrace&) = delete;

    bool isEnabled(TolvTraceLevel level) const noexcept {
        return static_cast<int>(level) <= m_level.load(std::memory_order_relaxed);
    }

    void beginLogMsg(TolvTraceLevel level, const TolvTraceHeader& header) noexcept;
    void logMsgData(const char* data, unsigned length) noexcept;
    void logMsgData(char character) noexcept;
    void endLogMsg() noexcept;

    /// The text of the record that was begun; a flush (std::endl) ends the record.
    TolvTraceStream logStream();
    /// Takes what is written while a level is switched off, and discards it.
    TolvTraceStream nullStream();

    const char* name() const noexcept { return m_name; }
    void setLevel(int level) noexcept { m_level.store(level, std::memory_order_relaxed); }

private:
    // Not a std::string: other threads may still write records when static objects have been
    // destroyed.
    const char* m_name;
    std::atomic<int> m_level;
};

/// The stream form of a record. Unbuffered; it holds nothing but the trace it writes to.
class TolvTraceStream : private std::streambuf, public std::ostream {
public:
    /// A null trace discards everything.
    explicit TolvTraceStream(TolvTrace* trace) : std::ostream(this), m_trace(trace) {}

private:
    int overflow(int character) override;
    std::streamsize xsputn(const char* data, std::streamsize length) override;
    int sync() override;

    TolvTrace* m_trace;
    bool m_lineEnded = false; // by a newline that belongs to the text, unless a flush comes next
};
