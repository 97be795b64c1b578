// The zone that local times are told in.
#pragma once

#include <cstdint>

#include "xelutils/platform/coredll.h"

constexpr std::int64_t kStepsPerMinute = 600'000'000;

#if defined(_WIN32)

// The system's zone counts there, whatever a program names.
class InZone {
public:
    explicit InZone(const char*) {}
    ~InZone() {}
};

// How far local time is ahead of UTC at present, in the steps of file times.
inline std::int64_t PresentOffset()
{
    TIME_ZONE_INFORMATION zone;
    const DWORD season = GetTimeZoneInformation(&zone);
    const LONG more = season == TIME_ZONE_ID_DAYLIGHT   ? zone.DaylightBias
                      : season == TIME_ZONE_ID_STANDARD ? zone.StandardBias
                                                        : 0;
    return -(zone.Bias + more) * kStepsPerMinute;
}

#else

#include <cstdlib>
#include <ctime>
#include <string>

// The host's zone for one test.
class InZone {
public:
    explicit InZone(const char* zone)
    {
        if (const char* before = std::getenv("TZ"))
            m_before = before;
        else
            m_wasSet = false;
        setenv("TZ", zone, 1);
    }
    ~InZone() { m_wasSet ? setenv("TZ", m_before.c_str(), 1) : unsetenv("TZ"); }
    InZone(const InZone&) = delete;
    InZone& operator=(const InZone&) = delete;

private:
    std::string m_before;
    bool m_wasSet = true;
};

inline std::int64_t PresentOffset()
{
    tzset();
    const std::time_t now = std::time(nullptr);
    std::tm local;
    localtime_r(&now, &local);
    return local.tm_gmtoff / 60 * kStepsPerMinute;
}

#endif
