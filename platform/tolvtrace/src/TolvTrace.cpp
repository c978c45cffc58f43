#include "TolvTrace.hpp"

#include "FileDescriptor.hpp"
#include "TraceLevels.hpp"

#include <cerrno>
#include <cstdio>
#include <new>

#include <unistd.h>

namespace {

struct Record {
    std::string line;
    Record* outer;
    bool lost = false; // memory ran out, so the record is incomplete
};

// A plain pointer, not a container: records may still be written while thread-local and static
// objects are being destroyed.
constinit thread_local Record* innermost = nullptr;

// How many records, begun inside the innermost one, could not be allocated.
constinit thread_local unsigned dropped = 0;

std::string linePrefix(const char* trace, TolvTraceLevel level, const TolvTraceHeader& header) {
    return std::string("[") + trace + "] " + std::to_string(static_cast<int>(level)) + " " +
           header.sourceFile + ":" + std::to_string(header.line) + " " + header.function + ": ";
}

bool isControl(char character) {
    const auto code = static_cast<unsigned char>(character);
    return code < 0x20 || code == 0x7f;
}

void append(std::string& line, char character) {
    if (!isControl(character)) {
        line += character;
        return;
    }
    constexpr char Digits[] = "0123456789abcdef";
    const auto code = static_cast<unsigned char>(character);
    line += {'\\', 'x', Digits[code >> 4], Digits[code & 15]};
}

void writeLine(const std::string& line) {
    const posix::NoCancellation whileWriting;
    while (write(STDERR_FILENO, line.data(), line.size()) == -1 && errno == EINTR) {
    }
}

} // namespace

TolvTrace::TolvTrace(const char* name, TolvTraceLevel level)
    : m_name(name), m_level(static_cast<int>(level)) {
    trace_levels::add(*this, static_cast<int>(level));
}

TolvTrace::~TolvTrace() {
    trace_levels::remove(*this);
}

void TolvTrace::beginLogMsg(TolvTraceLevel level, const TolvTraceHeader& header) noexcept {
    auto* const record = dropped == 0 ? new (std::nothrow) Record{{}, innermost, false} : nullptr;
    if (record == nullptr) {
        ++dropped;
        return;
    }
    innermost = record;
    try {
        record->line = linePrefix(m_name, level, header);
    } catch (const std::bad_alloc&) {
        record->lost = true;
    }
}

void TolvTrace::logMsgData(const char* data, unsigned length) noexcept {
    for (unsigned i = 0; i < length; ++i) {
        logMsgData(data[i]);
    }
}

void TolvTrace::logMsgData(char character) noexcept {
    if (innermost == nullptr || dropped != 0) {
        return;
    }
    try {
        append(innermost->line, character);
    } catch (const std::bad_alloc&) {
        innermost->lost = true;
    }
}

void TolvTrace::endLogMsg() noexcept {
    if (dropped != 0) {
        --dropped;
        return;
    }
    Record* const record = innermost;
    if (record == nullptr) {
        return;
    }
    innermost = record->outer;
    try {
        record->line += '\n';
    } catch (const std::bad_alloc&) {
        record->lost = true;
    }
    if (!record->lost) {
        writeLine(record->line);
    }
    delete record;
}

TolvTraceStream TolvTrace::logStream() {
    return TolvTraceStream(this);
}

TolvTraceStream TolvTrace::nullStream() {
    return TolvTraceStream(nullptr);
}

int TolvTraceStream::overflow(int character) {
    const char text = static_cast<char>(character);
    xsputn(&text, 1);
    return character != EOF ? character : 0;
}

std::streamsize TolvTraceStream::xsputn(const char* data, std::streamsize length) {
    for (std::streamsize i = 0; m_trace != nullptr && i < length; ++i) {
        if (m_lineEnded) {
            m_trace->logMsgData('\n');
        }
        m_lineEnded = data[i] == '\n';
        if (!m_lineEnded) {
            m_trace->logMsgData(data[i]);
        }
    }
    return length;
}

int TolvTraceStream::sync() {
    m_lineEnded = false;
    if (m_trace != nullptr) {
        m_trace->endLogMsg();
    }
    return 0;
}
