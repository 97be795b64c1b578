#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

#include "xelutils/platform/posix/file_times.h"

TEST(FileTimes, FromHost)
{
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    const struct {
        std::int64_t seconds;
        std::uint32_t nanoseconds;
        std::int64_t steps;
    } rows[] = {
        {910692730084, 0, 9223372036840000000}, {0, 0, 116444736000000000},   {kMost, 0, kMost},
        {0, 199, 116444736000000001},           {-11644473601, 999999999, 0}, {-11644473600, 0, 0},
        {-1, 999999999, 116444735999999999},    {910692730085, 0, kMost},     {-kMost, 0, 0},
    };
    for (const auto& row : rows) {
        const FILETIME time = FileTimeFromHost(row.seconds, row.nanoseconds);
        EXPECT_EQ(std::int64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime, row.steps)
            << row.seconds;
    }
}
