#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <ostream>

#include "support/target.h"
#include "support/zone.h"
#include "xelutils/platform/coredll.h"

bool operator==(const SYSTEMTIME& a, const SYSTEMTIME& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

void PrintTo(const SYSTEMTIME& time, std::ostream* out)
{
    *out << time.wYear << '-' << time.wMonth << '-' << time.wDay << " (" << time.wDayOfWeek << ") "
         << time.wHour << ':' << time.wMinute << ':' << time.wSecond << '.' << time.wMilliseconds;
}

namespace {

FILETIME FileTime(std::uint64_t steps)
{
    return {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
}

std::uint64_t Steps(const FILETIME& time)
{
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

constexpr std::uint64_t kHour = 36'000'000'000;
constexpr std::uint64_t kMarch2024 = 133541212791230000;

} // namespace

TEST(Time, FieldsOfFileTimes)
{
    const struct {
        std::uint64_t steps;
        SYSTEMTIME fields;
    } rows[] = {
        {0, {1601, 1, 1, 1, 0, 0, 0, 0}},
        {kMarch2024, {2024, 3, 2, 5, 14, 7, 59, 123}},
        {116444736000000000, {1970, 1, 4, 1, 0, 0, 0, 0}},
        {94405824000000000, {1900, 3, 4, 1, 0, 0, 0, 0}},
        {125962560000000000, {2000, 2, 2, 29, 0, 0, 0, 0}},
        {9223149887999990000, {30827, 12, 5, 31, 23, 59, 59, 999}},
    };
    for (const auto& row : rows) {
        SYSTEMTIME fields = {};
        const FILETIME time = FileTime(row.steps);
        EXPECT_TRUE(FileTimeToSystemTime(&time, &fields));
        EXPECT_EQ(fields, row.fields);
        // The day of the week is not looked at.
        fields.wDayOfWeek = 99;
        FILETIME back = {};
        EXPECT_TRUE(SystemTimeToFileTime(&fields, &back));
        EXPECT_EQ(Steps(back), row.steps);
    }
}

TEST(Time, LimitsOfFileTimes)
{
    SYSTEMTIME fields = {};
    // What is less than a millisecond is cut.
    FILETIME time = FileTime(19'999);
    EXPECT_TRUE(FileTimeToSystemTime(&time, &fields));
    EXPECT_EQ(fields, (SYSTEMTIME{1601, 1, 1, 1, 0, 0, 0, 1}));
    time = FileTime(0x7FFFFFFFFFFFFFFF);
    EXPECT_TRUE(FileTimeToSystemTime(&time, &fields));
    EXPECT_EQ(fields, (SYSTEMTIME{30828, 9, 4, 14, 2, 48, 5, 477}));

    time = FileTime(0x8000000000000000);
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(FileTimeToSystemTime(&time, &fields));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(fields, (SYSTEMTIME{30828, 9, 4, 14, 2, 48, 5, 477}));
}

// Wine takes two of them for the next day, or for a time of the year 30828.
TEST(Time, RefusesDatesThatThereAreNot)
{
    constexpr std::uint64_t kUntouched = 7;
    const struct {
        SYSTEMTIME fields;
        std::uint64_t desktop = kUntouched;
    } rows[] = {
        {{30828, 1, 0, 1, 0, 0, 0, 0}, 9223149888000000000},
        {{1900, 2, 0, 29, 0, 0, 0, 0}, 94405824000000000},
        {{1600, 12, 0, 31, 0, 0, 0, 0}},
        {{2024, 0, 0, 1, 0, 0, 0, 0}},
        {{2024, 13, 0, 1, 0, 0, 0, 0}},
        {{2024, 257, 0, 1, 0, 0, 0, 0}},
        {{2024, 1, 0, 0, 0, 0, 0, 0}},
        {{2024, 4, 0, 31, 0, 0, 0, 0}},
        {{2024, 1, 0, 257, 0, 0, 0, 0}},
        {{2024, 1, 0, 1, 24, 0, 0, 0}},
        {{2024, 1, 0, 1, 0, 60, 0, 0}},
        {{2024, 1, 0, 1, 0, 0, 60, 0}},
        {{2024, 1, 0, 1, 0, 0, 0, 1000}},
    };
    for (const auto& row : rows) {
        const std::uint64_t expected = OnHost(kUntouched, row.desktop);
        FILETIME time = FileTime(kUntouched);
        SetLastError(ERROR_SUCCESS);
        const bool isDone = SystemTimeToFileTime(&row.fields, &time);
        EXPECT_EQ(GetLastError(), isDone ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER);
        EXPECT_EQ(isDone, expected != kUntouched) << testing::PrintToString(row.fields);
        EXPECT_EQ(Steps(time), expected);
    }
}

// Local time must be a time of files too.
TEST(Time, LocalTimeFollowsTheZone)
{
    constexpr std::uint64_t kMost = 0x7FFFFFFFFFFFFFFF, kRefused = 7;
    const struct {
        const char* zone;
        std::uint64_t utc, local;
    } rows[] = {
        {"EAST-5:30", kMarch2024, kMarch2024 + 5 * kHour + kHour / 2},
        {"WEST8", kMarch2024, kMarch2024 - 8 * kHour},
        {"WEST8", 8 * kHour, 0},
        {"WEST8", 8 * kHour - 1, kRefused},
        {"EAST-2", 0, 2 * kHour},
        {"EAST-2", kMost - 2 * kHour, kMost},
        {"EAST-2", kMost - 2 * kHour + 1, kRefused},
        {"WEST8", kMost + 1, kRefused},
    };
    for (const auto& row : rows) {
        const InZone zone(row.zone);
        FILETIME local = FileTime(kRefused);
        const FILETIME utc = FileTime(row.utc);
        SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(FileTimeToLocalFileTime(&utc, &local) == FALSE, row.local == kRefused);
        EXPECT_EQ(GetLastError(), row.local == kRefused ? ERROR_INVALID_PARAMETER : 0);
        EXPECT_EQ(Steps(local), row.local) << row.zone;
    }
}

// Summer time now counts for a winter's file too, as callers know it from the device.
TEST(Time, LocalTimeHasThePresentOffsetInSummerAndWinter)
{
    const InZone zone("EST5EDT,M3.2.0,M11.1.0");
    for (const std::uint64_t utc : {kMarch2024, kMarch2024 + 180 * 24 * kHour}) {
        const FILETIME time = FileTime(utc);
        FILETIME local = {};
        EXPECT_TRUE(FileTimeToLocalFileTime(&time, &local));
        EXPECT_EQ(static_cast<std::int64_t>(Steps(local) - utc), PresentOffset()) << utc;
    }
}

TEST(Time, ComparedAsWholes)
{
    const struct {
        FILETIME first, second;
        LONG order;
    } rows[] = {
        {{5, 1}, {5, 1}, 0},           {{4, 1}, {5, 1}, -1}, {{6, 1}, {5, 1}, 1},
        {{0xFFFFFFFF, 1}, {0, 2}, -1}, {{0, 2}, {9, 1}, 1},  {{0, 0x80000000}, {0, 1}, 1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(CompareFileTime(&row.first, &row.second), row.order);
}

TEST(Time, SystemTimeIsNowInUtc)
{
    using namespace std::chrono;
    const InZone zone("EAST-5:30");
    const auto now = [] {
        return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    };
    const auto before = now();
    SYSTEMTIME fields = {};
    GetSystemTime(&fields);
    const auto after = now();
    FILETIME time = {};
    ASSERT_TRUE(SystemTimeToFileTime(&fields, &time));
    const auto since1970 = static_cast<long long>((Steps(time) - 116444736000000000) / 10'000);
    EXPECT_GE(since1970, before);
    EXPECT_LE(since1970, after);
}

TEST(Time, TicksAreMilliseconds)
{
    using namespace std::chrono;
    const auto start = steady_clock::now();
    const DWORD first = GetTickCount();
    Sleep(20);
    const DWORD elapsed = GetTickCount() - first;
    const auto most = duration_cast<milliseconds>(steady_clock::now() - start).count();
    // Desktop Windows counts in steps of up to 16.
    constexpr DWORD kStep = OnHost<DWORD>(1, 16);
    EXPECT_GE(elapsed + kStep, 20u);
    EXPECT_LE(elapsed, most + kStep);
}
