#include <gtest/gtest.h>

#include "xelutils/platform/posix/wildcards.h"
#include "xelutils/text/xel_string.h"

// "*.*" is every name, but only by itself; a surrogate is a unit of its own, case does not count
// and the dotless i is no i.
TEST(MatchWildcard, RulesOfStarAndQuestionMark)
{
    const struct {
        const wchar_t* mask;
        const wchar_t* name;
        bool matches;
    } rows[] = {
        {L"\u00C9*", L"\u00E9", true},  {L"a*", L"a.b.c", true},   {L"a?", L"a", false},
        {L"a*.ini", L"a.ini", true},    {L"a?c", L"ac", false},    {L"a**", L"a", true},
        {L"?", L"\xD83D\xDE00", false}, {L"*ab", L"aab", true},    {L"A?C", L"abc", true},
        {L"??", L"\xD83D\xDE00", true}, {L"a?c", L"a.c", true},    {L"", L"a", false},
        {L"**.*", L"README", false},    {L"*.*", L"README", true}, {L"", L"", true},
        {L"a*b*c", L"abcbd", false},    {L"\u0131", L"i", false},  {L"*", L"", true},
        {L"*.in", L"a.ini", false},     {L"a*.*", L"abc", false},  {L"a?", L"a*", true},
        {L"a.ini?", L"a.ini", false},   {L"*.", L"README", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(MatchWildcard(row.mask, row.name), row.matches) << &row - rows;
}

TEST(MatchWildcard, ManyStarsDoNotMultiply)
{
    xel_text::CXelStringT<wchar_t> mask;
    for (int i = 0; i < 100; ++i)
        mask += L"*a";
    const xel_text::CXelStringT<wchar_t> name(L'a', 255);
    EXPECT_TRUE(MatchWildcard(mask, name));
    mask += L"b";
    EXPECT_FALSE(MatchWildcard(mask, name));
}

TEST(MatchWildcard, MasksForEveryName)
{
    for (const wchar_t* const mask : {L"*", L"*.*"})
        EXPECT_TRUE(MatchesEveryName(mask));
    for (const wchar_t* const mask : {L"", L"**", L"*.", L"*.**", L"?", L"a*", L"*a"})
        EXPECT_FALSE(MatchesEveryName(mask));
    EXPECT_TRUE(HasWildcard(L"a*"));
    EXPECT_TRUE(HasWildcard(L"a?b"));
    EXPECT_FALSE(HasWildcard(L"a.b"));
}
