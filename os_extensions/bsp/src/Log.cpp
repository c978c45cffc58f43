#include "Log.hpp"

#include <charconv>

namespace os::bsp {

LogPiece::LogPiece(const char* text) : m_text(text != nullptr ? text : "(null)") {}

void LogPiece::setDigits(bool negative, unsigned long long magnitude, int base) {
    m_digits.front() = '-';
    char* const first = m_digits.begin() + (negative ? 1 : 0);
    m_text = {m_digits.begin(), std::to_chars(first, m_digits.end(), magnitude, base).ptr};
}

void LogModule::write(
    int level, unsigned line, const char* function, std::initializer_list<LogPiece> pieces) {
    m_trace.beginLogMsg(TolvTraceLevel{level}, TolvTraceHeader{m_sourceFile, line, function});
    for (const LogPiece& piece : pieces) {
        m_trace.logMsgData(piece.text().data(), static_cast<unsigned>(piece.text().size()));
    }
    m_trace.endLogMsg();
}

} // namespace os::bsp
