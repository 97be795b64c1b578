// The device's file times from the host's.
#pragma once

#include <cstdint>

#include "xelutils/platform/coredll.h"

struct statx;

// From seconds since 1970 and nanoseconds, which are cut to steps of 100. Times that a FILETIME
// cannot hold become the nearest that it can: 0, or the last before the sign bit.
FILETIME FileTimeFromHost(std::int64_t seconds, std::uint32_t nanoseconds);

struct FileTimes {
    FILETIME creation;
    FILETIME lastAccess;
    FILETIME lastWrite;
};

FileTimes FileTimesOf(const struct statx& status);
