#include "PthreadMutex.hpp"

#include <system_error>

namespace DDevIo {
namespace {

void require(int result) {
    if (result != 0) {
        throw std::system_error(result, std::generic_category(), "PthreadMutex");
    }
}

int systemType(PthreadMutexType type) {
    switch (type) {
    case PthreadMutexType::Default:
        return PTHREAD_MUTEX_DEFAULT;
    case PthreadMutexType::Recursive:
        return PTHREAD_MUTEX_RECURSIVE;
    case PthreadMutexType::ErrorChecking:
        return PTHREAD_MUTEX_ERRORCHECK;
    }
    return -1;
}

} // namespace

TolvTrace PthreadMutex::m_trace("DDevIo.PthreadMutex", TolvTraceLevel{3});

PthreadMutex::PthreadMutex(PthreadMutexType type) : m_mutex() {
    pthread_mutexattr_t attributes;
    require(pthread_mutexattr_init(&attributes));
    int result = pthread_mutexattr_settype(&attributes, systemType(type));
    if (result == 0) {
        result = pthread_mutex_init(&m_mutex, &attributes);
    }
    pthread_mutexattr_destroy(&attributes);
    require(result);
}

} // namespace DDevIo
