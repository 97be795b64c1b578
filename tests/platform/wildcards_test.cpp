#include <gtest/gtest.h>

#include "xelutils/platform/posix/wildcards.h"
#include "xelutils/text/xel_string.h"

TEST(MatchWildcard, RulesOfStarAndQuestionMark)
{
    const struct {
        const char* rule;
        const wchar_t* mask;
        const wchar_t* name;
        bool matches;
    } rows[] = {
        {"star takes nothing too", L"a*.ini", L"a.ini", true},
        {"star may take a dot", L"a*", L"a.b.c", true},
        {"star alone", L"*", L"README", true},
        {"question mark takes exactly one", L"a?c", L"ac", false},
        {"question mark takes any", L"a?c", L"a.c", true},
        {"question mark at the end", L"a?", L"a", false},
        {"a pair of surrogates is two", L"?", L"\xD83D\xDE00", false},
        {"two question marks for a pair", L"??", L"\xD83D\xDE00", true},
        {"case does not count", L"A?C", L"abc", true},
        {"nor beyond ASCII", L"\u00C9*\u0436", L"\u00E9 \u0416", true},
        {"dotless i is no i", L"\u0131", L"i", false},
        {"star-dot-star is every name", L"*.*", L"README", true},
        {"only by itself", L"a*.*", L"abc", false},
        {"nor with a star more", L"**.*", L"README", false},
        {"a dot is a dot", L"*.", L"README", false},
        {"the earliest fit is not the one", L"*ab", L"aab", true},
        {"nor the latest", L"a*b*c", L"abcbd", false},
        {"the whole name", L"*.in", L"a.ini", false},
        {"the whole mask", L"a.ini?", L"a.ini", false},
        {"stars at the end take nothing", L"a**", L"a", true},
        {"no wildcard", L"a", L"ab", false},
        {"empty mask", L"", L"a", false},
        {"both empty", L"", L"", true},
        {"star and the empty name", L"*", L"", true},
        {"wildcards in names are units", L"a?", L"a*", true},
    };
    for (const auto& row : rows)
        EXPECT_EQ(MatchWildcard(row.mask, row.name), row.matches) << row.rule;
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
