/// Device library: a lock made of one pthread mutex. The operations are inline, so they belong to
/// the program that uses them; constructor and trace object stand in the library.
#pragma once

#include "IMutex.hpp"
#include "TolvTrace.hpp"

#include <cerrno>
#include <ostream>

#include <pthread.h>

namespace DDevIo {

enum class PthreadMutexType : int { Default = 0, Recursive = 1, ErrorChecking = 2 };

/// Operations may be called from any thread. A failure is told by the result and a level-1 message;
/// the object stays usable, and errno is as before.
class PthreadMutex : public IMutex {
public:
    /// Usable at once. Throws std::system_error when the mutex cannot be made, or the type is none
    /// of the above.
    explicit PthreadMutex(PthreadMutexType type);
    ~PthreadMutex() override;
    PthreadMutex(const PthreadMutex&) = delete;
    PthreadMutex& operator=(const PthreadMutex&) = delete;

    bool lock() override;
    bool unlock() override;

private:
    class Message;

    static bool succeeded(int result, unsigned line, const char* function);

    pthread_mutex_t m_mutex;
    static TolvTrace m_trace;
};

/// A message in the making: a record where its level is switched on, else the trace's second
/// stream.
class PthreadMutex::Message {
public:
    Message(int level, unsigned line, const char* function)
        : m_savedErrno(errno), m_stream(begin(TolvTraceLevel{level}, line, function)) {}
    ~Message() {
        m_stream << std::endl;
        errno = m_savedErrno;
    }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    std::ostream& stream() { return m_stream; }

private:
    static TolvTraceStream begin(TolvTraceLevel level, unsigned line, const char* function) {
        if (!m_trace.isEnabled(level)) {
            return m_trace.nullStream();
        }
        m_trace.beginLogMsg(level, {"include/PthreadMutex", line, function});
        return m_trace.logStream();
    }

    int m_savedErrno;
    TolvTraceStream m_stream;
};

inline bool PthreadMutex::succeeded(int result, unsigned line, const char* function) {
    if (result != 0) {
        Message(1, line, function).stream() << function << "(): pthread_mutex_" << function
                                            << "() failed with error " << result << ".";
    }
    return result == 0;
}

inline PthreadMutex::~PthreadMutex() {
    Message(6, __LINE__, __func__).stream() << "ENTER " << __func__ << "().";
    pthread_mutex_destroy(&m_mutex);
}

inline bool PthreadMutex::lock() {
    if (m_trace.isEnabled(TolvTraceLevel{7})) {
        Message(7, __LINE__, __func__).stream() << "ENTER " << __func__ << "().";
    }
    return succeeded(pthread_mutex_lock(&m_mutex), __LINE__, __func__);
}

inline bool PthreadMutex::unlock() {
    if (m_trace.isEnabled(TolvTraceLevel{7})) {
        Message(7, __LINE__, __func__).stream() << "ENTER " << __func__ << "().";
    }
    return succeeded(pthread_mutex_unlock(&m_mutex), __LINE__, __func__);
}

} // namespace DDevIo
