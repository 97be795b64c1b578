#include "xelutils/platform/coredll.h"

#include <cerrno>
#include <ctime>
#include <sched.h>

void Sleep(DWORD milliseconds)
{
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    constexpr DWORD kPerSecond = 1000;
    constexpr long kNanosecondsPerMillisecond = 1000000;
    timespec left;
    left.tv_sec = static_cast<std::time_t>(milliseconds / kPerSecond);
    left.tv_nsec = static_cast<long>(milliseconds % kPerSecond) * kNanosecondsPerMillisecond;
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}
