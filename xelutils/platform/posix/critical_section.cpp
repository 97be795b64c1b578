#include <new>
#include <pthread.h>

#include "xelutils/platform/coredll.h"

namespace {

static_assert(sizeof(pthread_mutex_t) <= sizeof(CRITICAL_SECTION) &&
              alignof(pthread_mutex_t) <= alignof(CRITICAL_SECTION));

pthread_mutex_t* Mutex(CRITICAL_SECTION* section)
{
    return std::launder(reinterpret_cast<pthread_mutex_t*>(section->host));
}

} // namespace

void InitializeCriticalSection(CRITICAL_SECTION* section)
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(new (section->host) pthread_mutex_t, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void DeleteCriticalSection(CRITICAL_SECTION* section)
{
    pthread_mutex_destroy(Mutex(section));
}

void EnterCriticalSection(CRITICAL_SECTION* section)
{
    pthread_mutex_lock(Mutex(section));
}

void LeaveCriticalSection(CRITICAL_SECTION* section)
{
    pthread_mutex_unlock(Mutex(section));
}
