#pragma once

#include <cstdint>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>

inline void SetTimes(const std::string& hostPath, std::uint64_t access, std::uint64_t write)
{
    constexpr std::uint64_t kStepsPerSecond = 10'000'000;
    constexpr std::uint64_t kSecondsFrom1601To1970 = 11644473600;
    const auto host = [](std::uint64_t steps) {
        return timespec{static_cast<time_t>(steps / kStepsPerSecond - kSecondsFrom1601To1970),
                        static_cast<long>(steps % kStepsPerSecond * 100)};
    };
    const timespec times[] = {host(access), host(write)};
    utimensat(AT_FDCWD, hostPath.c_str(), times, 0);
}
