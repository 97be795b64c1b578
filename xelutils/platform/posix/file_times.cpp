#include "xelutils/platform/posix/file_times.h"

#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>

#include "xelutils/platform/posix/entries.h"
#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/posix/handles.h"

namespace {

constexpr int kBitsOfLowPart = 32;

std::uint64_t StepsOf(const FILETIME& time)
{
    return std::uint64_t{time.dwHighDateTime} << kBitsOfLowPart | time.dwLowDateTime;
}

FILETIME FileTimeOf(const statx_timestamp& time)
{
    return FileTimeFromHost(time.tv_sec, time.tv_nsec);
}

} // namespace

FILETIME FileTimeFromHost(std::int64_t seconds, std::uint32_t nanoseconds)
{
    constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;
    constexpr std::int64_t kStepsPerSecond = 10'000'000;
    constexpr std::uint32_t kNanosecondsPerStep = 100;
    constexpr std::int64_t kMostSteps = std::numeric_limits<std::int64_t>::max();

    std::int64_t steps = 0;
    if (seconds >= kMostSteps / kStepsPerSecond - kSecondsFrom1601To1970)
        steps = kMostSteps;
    else if (seconds >= -kSecondsFrom1601To1970)
        steps = (seconds + kSecondsFrom1601To1970) * kStepsPerSecond +
                nanoseconds / kNanosecondsPerStep;
    return {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> kBitsOfLowPart)};
}

FileTimes FileTimesOf(const struct statx& status)
{
    const bool knowsCreation = (status.stx_mask & STATX_BTIME) != 0;
    return {FileTimeOf(knowsCreation ? status.stx_btime : status.stx_mtime),
            FileTimeOf(status.stx_atime), FileTimeOf(status.stx_mtime)};
}

BOOL GetFileTime(HANDLE file, FILETIME* creation, FILETIME* lastAccess, FILETIME* lastWrite)
{
    const HandleTarget target = LookUpHandle(file);
    if (!target.file)
        return FALSE;
    if (target.kind == HandleKind::Mapping)
        return Fail(ERROR_INVALID_HANDLE);
    struct statx status;
    if (!ReadStatus(target.file->descriptor, "", AT_EMPTY_PATH, status))
        return FailFromErrno(errno);
    const FileTimes times = FileTimesOf(status);
    if (creation != nullptr)
        *creation = times.creation;
    if (lastAccess != nullptr)
        *lastAccess = times.lastAccess;
    if (lastWrite != nullptr)
        *lastWrite = times.lastWrite;
    return TRUE;
}

LONG CompareFileTime(const FILETIME* first, const FILETIME* second)
{
    const std::uint64_t a = StepsOf(*first);
    const std::uint64_t b = StepsOf(*second);
    return a < b ? -1 : a > b ? 1 : 0;
}
