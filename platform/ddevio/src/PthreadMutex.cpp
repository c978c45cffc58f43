#include "PthreadMutex.hpp"

#include <system_error>

namespace DDevIo {
namespace {

constexpr int Types[] = {PTHREAD_MUTEX_DEFAULT, PTHREAD_MUTEX_RECURSIVE, PTHREAD_MUTEX_ERRORCHECK};

void require(int result) {
    if (result != 0) {
        throw std::system_error(result, std::generic_category(), "PthreadMutex");
    }
}

} // namespace

TolvTrace PthreadMutex::m_trace("DDevIo.PthreadMutex", TolvTraceLevel{3});

PthreadMutex::PthreadMutex(PthreadMutexType type) : m_mutex() {
    pthread_mutexattr_t attributes;
    require(pthread_mutexattr_init(&attributes));
    pthread_mutexattr_settype(&attributes, Types[static_cast<int>(type)]);
    const int result = pthread_mutex_init(&m_mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    require(result);
}

} // namespace DDevIo
