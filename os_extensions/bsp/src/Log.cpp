#include "Log.hpp"

namespace os::bsp {

void LogModule::write(
    int level, unsigned line, const char* function, std::initializer_list<LogPiece> pieces) {
    m_trace.beginLogMsg(TolvTraceLevel{level}, TolvTraceHeader{m_sourceFile, line, function});
    for (const LogPiece& piece : pieces) {
        m_trace.logMsgData(piece.text().data(), static_cast<unsigned>(piece.text().size()));
    }
    m_trace.endLogMsg();
}

} // namespace os::bsp
