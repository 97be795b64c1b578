#include <chrono>
#include <cstdint>
#include <ctime>

#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/posix/file_times.h"

namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr int kBitsOfLowPart = 32;
// Steps of a FILETIME.
constexpr std::int64_t kStepsPerMillisecond = 10'000;
constexpr std::int64_t kStepsPerSecond = 1000 * kStepsPerMillisecond;

constexpr sys_days kFirstDay = std::chrono::year(1601) / 1 / 1;
constexpr WORD kFirstYear = 1601;
constexpr WORD kLastYear = 30827;

// Negative for what has the highest bit set.
std::int64_t StepsOf(const FILETIME& time)
{
    return static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << kBitsOfLowPart |
                                     time.dwLowDateTime);
}

FILETIME FileTimeFromSteps(std::int64_t steps)
{
    return {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> kBitsOfLowPart)};
}

// Seconds east of Greenwich, now.
std::int64_t PresentOffset()
{
    // The zone may have changed since the last call.
    tzset();
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    return localtime_r(&now, &local) != nullptr ? local.tm_gmtoff : 0;
}

year_month_day DateOf(const SYSTEMTIME& time)
{
    return {std::chrono::year(time.wYear), std::chrono::month(time.wMonth),
            std::chrono::day(time.wDay)};
}

bool IsDate(const SYSTEMTIME& time)
{
    // What these types do not hold would turn into another date.
    constexpr WORD kMost = 99;
    return time.wYear >= kFirstYear && time.wYear <= kLastYear && time.wMonth <= kMost &&
           time.wDay <= kMost && DateOf(time).ok();
}

bool IsTimeOfDay(const SYSTEMTIME& time)
{
    return time.wHour < 24 && time.wMinute < 60 && time.wSecond < 60 && time.wMilliseconds < 1000;
}

} // namespace

void GetSystemTime(SYSTEMTIME* time)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const FILETIME fileTime = FileTimeFromHost(now.tv_sec, static_cast<std::uint32_t>(now.tv_nsec));
    FileTimeToSystemTime(&fileTime, time);
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* fileTime)
{
    if (!IsDate(*time) || !IsTimeOfDay(*time))
        return Fail(ERROR_INVALID_PARAMETER);
    const milliseconds sinceFirstDay = sys_days(DateOf(*time)) - kFirstDay + hours(time->wHour) +
                                       minutes(time->wMinute) + seconds(time->wSecond) +
                                       milliseconds(time->wMilliseconds);
    *fileTime = FileTimeFromSteps(sinceFirstDay.count() * kStepsPerMillisecond);
    return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* time)
{
    const std::int64_t steps = StepsOf(*fileTime);
    if (steps < 0)
        return Fail(ERROR_INVALID_PARAMETER);
    const milliseconds sinceFirstDay(steps / kStepsPerMillisecond);
    const days wholeDays = std::chrono::floor<days>(sinceFirstDay);
    const sys_days day = kFirstDay + wholeDays;
    const year_month_day date(day);
    const std::chrono::hh_mm_ss timeOfDay(sinceFirstDay - wholeDays);
    time->wYear = static_cast<WORD>(static_cast<int>(date.year()));
    time->wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
    time->wDayOfWeek = static_cast<WORD>(std::chrono::weekday(day).c_encoding());
    time->wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
    time->wHour = static_cast<WORD>(timeOfDay.hours().count());
    time->wMinute = static_cast<WORD>(timeOfDay.minutes().count());
    time->wSecond = static_cast<WORD>(timeOfDay.seconds().count());
    time->wMilliseconds = static_cast<WORD>(timeOfDay.subseconds().count());
    return TRUE;
}

BOOL FileTimeToLocalFileTime(const FILETIME* fileTime, FILETIME* localFileTime)
{
    const std::int64_t steps = StepsOf(*fileTime);
    std::int64_t local = 0;
    if (steps < 0 || __builtin_add_overflow(steps, PresentOffset() * kStepsPerSecond, &local) ||
        local < 0)
        return Fail(ERROR_INVALID_PARAMETER);
    *localFileTime = FileTimeFromSteps(local);
    return TRUE;
}

DWORD GetTickCount()
{
    constexpr std::int64_t kMillisecondsPerSecond = 1000;
    constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<DWORD>(now.tv_sec * kMillisecondsPerSecond +
                              now.tv_nsec / kNanosecondsPerMillisecond);
}
