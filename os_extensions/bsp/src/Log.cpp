#include "Log.hpp"

#include <charconv>
#include <exception>

#include <cxxabi.h>

namespace os::bsp {
namespace {

[[maybe_unused]] const LogModule* const createdBeforeMain[] = {
    &coreLog(), &databaseLog(), &slotLog()};

} // namespace

LogPiece::LogPiece(const char* text) : m_text(text != nullptr ? text : "(null)") {}

void LogPiece::setDigits(bool negative, unsigned long long magnitude, int base) {
    m_digits.front() = '-';
    char* const first = m_digits.begin() + (negative ? 1 : 0);
    m_text = {m_digits.begin(), std::to_chars(first, m_digits.end(), magnitude, base).ptr};
}

void LogRecord::writeMessage(Pieces pieces) {
    write({m_function, "(): "}, pieces);
}

void LogRecord::writeEntry(Pieces pieces) {
    write({"ENTER ", m_function}, pieces);
}

void LogRecord::write(Pieces lead, Pieces pieces) {
    TolvTrace& trace = m_module.m_trace;
    trace.beginLogMsg(
        TolvTraceLevel{m_level}, TolvTraceHeader{m_module.m_sourceFile, m_line, m_function});
    for (const Pieces& part : {lead, pieces}) {
        for (const LogPiece& piece : part) {
            trace.logMsgData(piece.text().data(), static_cast<unsigned>(piece.text().size()));
        }
    }
    trace.endLogMsg();
}

void reportCaught(LogModule& module, const char* function) {
    try {
        throw;
    } catch (const abi::__forced_unwind&) {
        throw; // pthread_cancel() unwinds with it: glibc aborts if a handler swallows it
    } catch (const std::exception& exception) {
        BSP_LOG_AT(
            module, 1, __LINE__, function, InitError, ": Caught exception [", exception.what(),
            "].");
    } catch (...) {
        BSP_LOG_AT(module, 1, __LINE__, function, InitError, ": Caught unknown exception");
    }
}

} // namespace os::bsp
