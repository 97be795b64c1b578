#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>

#include "support/target.h"
#include "support/test_folder.h"
#include "support/zone.h"
#include "xelutils/files/file_funcs.h"

using namespace FileFuncs;

namespace {

using String = CXelStringT<wchar_t>;

std::uint64_t StepsOf(const FILETIME& time)
{
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

FILETIME FileTimeOf(std::uint64_t steps)
{
    return {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
}

// 5 March 2024, 14:07:00.
constexpr std::uint64_t kFifthOfMarch = 133'541'212'200'000'000;

constexpr std::uint64_t kNewYearsEve = 133'800'768'000'000'000;     // 31 December 2024, 00:00
constexpr std::uint64_t kSecondOfJanuary = 125'597'951'400'000'000; // 2 January 1999, 23:59

// The time that is displayed as `localSteps`, whatever the zone.
FILETIME FromLocal(std::uint64_t localSteps)
{
    return FileTimeOf(localSteps - static_cast<std::uint64_t>(PresentOffset()));
}

// Also where it is displayed in another zone.
FILETIME NoTime()
{
    return FileTimeOf((std::uint64_t{1} << 63) + 24 * 60 * kStepsPerMinute);
}

struct Texts {
    String date = L"old";
    String clock = L"old";

    void Expect(const wchar_t* wantedDate, const wchar_t* wantedClock) const
    {
        EXPECT_EQ(date, wantedDate);
        EXPECT_EQ(clock, wantedClock);
    }
};

} // namespace

TEST(FileTimes, DisplayedWithoutSeconds)
{
    const struct {
        std::uint64_t localSteps;
        String date;
        String clock;
    } rows[] = {
        {kFifthOfMarch, L"03/05/2024", L"14:07"},
        {kFifthOfMarch + kStepsPerMinute - 1, L"03/05/2024", L"14:07"},
        {kFifthOfMarch + kStepsPerMinute, L"03/05/2024", L"14:08"},
        {kNewYearsEve, L"12/31/2024", L"00:00"},
        {kSecondOfJanuary, L"01/02/1999", L"23:59"},
        {2'650'152'384'000'000'000, L"01/01/9999", L"00:00"},
        {2'650'467'744'000'000'000, L"01/01/10000", L"00:00"},
    };
    for (const auto& row : rows) {
        FILETIME time = FromLocal(row.localSteps);
        Texts texts;
        EXPECT_TRUE(ConvertAndFormatFileTime(time, &texts.date, &texts.clock));
        texts.Expect(row.date, row.clock);
    }
}

TEST(FileTimes, DisplayedInLocalTime)
{
    for (const char* const name : {"UTC0", "ABC-5:30", "ABC-10", "ABC+8"}) {
        const InZone zone(name);
        FILETIME time = FromLocal(kFifthOfMarch);
        Texts texts;
        EXPECT_TRUE(ConvertAndFormatFileTime(time, &texts.date, &texts.clock));
        texts.Expect(L"03/05/2024", L"14:07");
    }
}

TEST(FileTimes, EitherTextMayBeLeftOut)
{
    FILETIME time = FromLocal(kFifthOfMarch);
    Texts texts;
    EXPECT_TRUE(ConvertAndFormatFileTime(time, nullptr, nullptr));
    EXPECT_TRUE(ConvertAndFormatFileTime(time, &texts.date, nullptr));
    texts.Expect(L"03/05/2024", L"old");
    texts.date = L"old";
    EXPECT_TRUE(ConvertAndFormatFileTime(time, nullptr, &texts.clock));
    texts.Expect(L"old", L"14:07");
}

TEST(FileTimes, WhatIsNoTimeLeavesTheTexts)
{
    FILETIME time = NoTime();
    Texts texts;
    EXPECT_FALSE(ConvertAndFormatFileTime(time, &texts.date, &texts.clock));
    texts.Expect(L"old", L"old");
}

TEST(FileTimes, TextsComeInAnotherOrderThanTimes)
{
    FILETIME creation = FromLocal(kFifthOfMarch);
    FILETIME access = FromLocal(kNewYearsEve);
    FILETIME write = FromLocal(kSecondOfJanuary);
    Texts c;
    Texts w;
    Texts a;
    EXPECT_TRUE(xelGetFileTimeFormatted(&creation, &access, &write, &c.date, &c.clock, &w.date,
                                        &w.clock, &a.date, &a.clock));
    c.Expect(L"03/05/2024", L"14:07");
    w.Expect(L"01/02/1999", L"23:59");
    a.Expect(L"12/31/2024", L"00:00");
}

TEST(FileTimes, WithoutTheFirstTextNothingIsFormatted)
{
    FILETIME time = FromLocal(kFifthOfMarch);
    Texts c;
    Texts w;
    Texts a;
    EXPECT_TRUE(xelGetFileTimeFormatted(&time, &time, &time, nullptr, &c.clock, &w.date, &w.clock,
                                        &a.date, &a.clock));
    const TestFolder folder;
    EXPECT_TRUE(xelGetFileTimeFormatted(folder.Write("file", ""), nullptr, &c.clock, &w.date,
                                        &w.clock, &a.date, &a.clock));
    for (const Texts& texts : {c, w, a})
        texts.Expect(L"old", L"old");
}

TEST(FileTimes, TimesAndTextsMayBeLeftOut)
{
    FILETIME time = FromLocal(kFifthOfMarch);
    FILETIME noTime = NoTime();
    Texts c;
    Texts w;
    EXPECT_TRUE(xelGetFileTimeFormatted(nullptr, nullptr, &time, &c.date, &c.clock, &w.date,
                                        nullptr, nullptr, nullptr));
    c.Expect(L"old", L"old");
    w.Expect(L"03/05/2024", L"old");
    EXPECT_TRUE(xelGetFileTimeFormatted(&noTime, nullptr, nullptr, &c.date, &c.clock, nullptr,
                                        nullptr, nullptr, nullptr));
    c.Expect(L"old", L"old");
}

TEST(FileTimes, OfAFile)
{
    const TestFolder folder;
    const String path = folder.Write("file", "x");
    const auto written = std::chrono::sys_days(std::chrono::year(1999) / 1 / 2) +
                         std::chrono::hours(3) + std::chrono::nanoseconds(123'456'700);
    std::filesystem::last_write_time(folder.HostPath("file"),
                                     std::chrono::file_clock::from_sys(written));

    // 2 January 1999, 03:00:00.1234567; the C++ library of Windows sets whole seconds.
    constexpr std::uint64_t kWritten =
        OnHost<std::uint64_t>(125'597'196'001'234'567, 125'597'196'000'000'000);
    FILETIME creation{};
    FILETIME access{};
    FILETIME write{};
    EXPECT_TRUE(xelGetFileTimes(path, &creation, &access, &write));
    EXPECT_EQ(StepsOf(write), kWritten);
    FILETIME writeAlone{};
    EXPECT_TRUE(xelGetFileTimes(path, nullptr, nullptr, &writeAlone));
    EXPECT_EQ(StepsOf(writeAlone), kWritten);

    Texts expected[3];
    ConvertAndFormatFileTime(creation, &expected[0].date, &expected[0].clock);
    ConvertAndFormatFileTime(write, &expected[1].date, &expected[1].clock);
    ConvertAndFormatFileTime(access, &expected[2].date, &expected[2].clock);
    Texts c;
    Texts w;
    Texts a;
    EXPECT_TRUE(
        xelGetFileTimeFormatted(path, &c.date, &c.clock, &w.date, &w.clock, &a.date, &a.clock));
    c.Expect(expected[0].date, expected[0].clock);
    w.Expect(expected[1].date, expected[1].clock);
    a.Expect(expected[2].date, expected[2].clock);
}

TEST(FileTimes, OfWhatIsNoFile)
{
    const TestFolder folder;
    const String paths[] = {folder.Path("missing"), folder.Path(""), L""};
    for (const String& path : paths) {
        FILETIME write = {1, 2};
        EXPECT_FALSE(xelGetFileTimes(path, &write, &write, &write));
        EXPECT_EQ(write.dwLowDateTime, 1u);
        EXPECT_EQ(write.dwHighDateTime, 2u);

        // Formatted as the time 0, which west of Greenwich is none.
        FILETIME zero{};
        Texts expected;
        ConvertAndFormatFileTime(zero, &expected.date, &expected.clock);
        Texts c;
        Texts w;
        Texts a;
        EXPECT_TRUE(
            xelGetFileTimeFormatted(path, &c.date, &c.clock, &w.date, &w.clock, &a.date, &a.clock));
        for (const Texts& texts : {c, w, a})
            texts.Expect(expected.date, expected.clock);
    }
    EXPECT_FALSE(xelGetFileTimes(nullptr, nullptr, nullptr, nullptr));
    Texts c;
    EXPECT_TRUE(
        xelGetFileTimeFormatted(nullptr, &c.date, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST(FileTimes, SystemTimeIsNow)
{
    const auto stepsNow = [] {
        using Steps = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
        const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
        return static_cast<std::uint64_t>(std::chrono::floor<Steps>(since1970).count() +
                                          116'444'736'000'000'000);
    };
    constexpr std::uint64_t kStepsPerMillisecond = 10'000;
    const std::uint64_t before = stepsNow();
    FILETIME now{};
    xelGetSystemTimeAsFileTime(now);
    EXPECT_GE(StepsOf(now) + kStepsPerMillisecond, before);
    EXPECT_LE(StepsOf(now), stepsNow());
    EXPECT_EQ(StepsOf(now) % kStepsPerMillisecond, 0u);
}
