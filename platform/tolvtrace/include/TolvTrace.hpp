/// Trace library. A record becomes one line on standard error, written with one write(2):
///
///     [<trace>] <level> <file>:<line> <function>: <text>
///
/// Control characters in the text are written as \xNN, so that a record is always one line.
/// The environment sets start levels: TOLVTRACE_LEVELS=bsp.core=7,Bsp.WarmDatabase=5,*=3
/// (a trace's own name takes precedence over "*").
#pragma once

#include "TolvTrace.h"

#include <atomic>
#include <ostream>
#include <streambuf>
#include <string>

enum class TolvTraceLevel : int {};

/// The origin of a record. The texts must outlive the record.
struct TolvTraceHeader {
    const char* sourceFile;
    unsigned line;
    const char* function;
};

class TolvTraceStream;

/// One named trace. Every operation may be called from any thread. A record belongs to the thread
/// that began it. Records may nest; each is written as a whole when it ends. No operation fails: if
/// memory runs out, the record is dropped.
class TolvTrace {
public:
    /// `name` must outlive the process's last record. `level` applies unless the environment or
    /// TolvTrace_setLevel() has set another level for this name or for "*".
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

    /// A stream that writes to the record just begun; a flush (std::endl) ends the record.
    TolvTraceStream logStream();
    /// A stream that discards its input, for messages whose level is off.
    TolvTraceStream nullStream();

    const char* name() const noexcept { return m_name; }
    void setLevel(int level) noexcept { m_level.store(level, std::memory_order_relaxed); }

private:
    // Not a std::string: other threads may still write records after static objects have been
    // destroyed.
    const char* m_name;
    std::atomic<int> m_level;
};

/// The stream interface of a record. It has no buffer: each character goes straight to the trace.
class TolvTraceStream : private std::streambuf, public std::ostream {
public:
    /// A null trace discards everything.
    explicit TolvTraceStream(TolvTrace* trace) : std::ostream(this), m_trace(trace) {}

private:
    int overflow(int character) override;
    std::streamsize xsputn(const char* data, std::streamsize length) override;
    int sync() override;

    TolvTrace* m_trace;
    bool m_lineEnded = false; // holds back a newline: it is part of the text unless a flush follows
};
