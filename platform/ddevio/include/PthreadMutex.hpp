/// Device library: a lock that consists of one pthread mutex. The operations are inline and
/// compiled into the program that uses them; the library contains the constructor and the trace
/// object.
#pragma once

#include "IMutex.hpp"
#include "TolvTrace.hpp"

#include <cerrno>
#include <ostream>

#include <pthread.h>

namespace DDevIo {

enum class PthreadMutexType : int { Default = 0, Recursive = 1, ErrorChecking = 2 };

/// Operations may be called from any thread. If one fails, it returns false and logs a level-1
/// message. The object stays usable, and errno is unchanged.
class PthreadMutex : public IMutex {
public:
    /// Throws std::system_error if the mutex cannot be initialised or `type` is not one of the
    /// above.
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

/// A message being written: to a record if its level is enabled, else to the null stream.
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
