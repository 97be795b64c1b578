#include "support/system_page.h"
#include "text/string_states.h"

using namespace string_tests;

namespace {

class StringConvert : public StringStatesTest {};

TEST_F(StringConvert, NarrowTakesTheWideLengthAsCapacity)
{
    const struct {
        const wchar_t* text;
        const char* look;
    } rows[] = {
        {L"abc", "abc/3 x1"},
        {L"", "/0 nil"},
        {L"\xE9\x20AC\x178", "<E9><80><9F>/3 x1"},
        {L"\x4E2Dz\xFFFD", "?z?/3 x1"},
    };
    for (const auto& row : rows) {
        Narrow assigned, fromFramework;
        assigned = row.text;
        fromFramework = CString(row.text);
        EXPECT_EQ(Look(Narrow(row.text)), row.look);
        EXPECT_EQ(Look(Narrow(CString(row.text))), row.look);
        EXPECT_EQ(Look(assigned), row.look);
        EXPECT_EQ(Look(fromFramework), row.look);
    }
    const wchar_t unterminated[] = {L'a', 0, 0x20AC};
    EXPECT_EQ(Look(Narrow(unterminated, 3)), "a<0><80>/3 x1");
    EXPECT_EQ(Look(Narrow(L"abc", 2)), "ab/2 x1");
    EXPECT_EQ(Look(Narrow(CString(L"a\0b", 3))), "a/1 x1");
}

TEST_F(StringConvert, WideTakesTwiceTheBytesAsCapacity)
{
    const struct {
        const char* text;
        const char* look;
    } rows[] = {
        {"abc", "abc/6 x1"},
        {"", "/0 nil"},
        {"\xE9\x80\x9F", "<E9><20AC><178>/6 x1"},
    };
    for (const auto& row : rows) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(row.text);
        Wide assigned, assignedBytes;
        assigned = row.text;
        assignedBytes = bytes;
        EXPECT_EQ(Look(Wide(row.text)), row.look);
        EXPECT_EQ(Look(Wide(bytes)), row.look);
        EXPECT_EQ(Look(assigned), row.look);
        EXPECT_EQ(Look(assignedBytes), row.look);
    }
    const char unterminated[] = {'a', 0, '\x80'};
    EXPECT_EQ(Look(Wide(unterminated, 3)), "a<0><20AC>/6 x1");
    EXPECT_EQ(Look(Wide("abc", 2)), "ab/4 x1");
}

TEST_F(StringConvert, SameWidthFormsTakeTheTextAsItIs)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>("a\xE9");
    Narrow narrow = Str<char>("xyz");
    narrow = bytes;
    EXPECT_EQ(Look(narrow), "a<E9>/3 x1");
    EXPECT_EQ(Look(Narrow(bytes)), "a<E9>/2 x1");
    Wide wide = Str<wchar_t>("xyz");
    wide = CString(L"a\x20AC\0b", 4);
    EXPECT_EQ(Look(wide), "a<20AC>/3 x1");
    EXPECT_EQ(Look(Wide(CString(L"a\x20AC\0b", 4))), "a<20AC>/2 x1");
}

TEST_F(StringConvert, AssigningWideTextToANarrowString)
{
    const Row<char> rows[] = {
        {"just fits", Locked, "ab", "=de/2 locked", [](Narrow& s) { s = L"de"; }},
        {"nothing stale", Sole, "abc", "=d/3 x1", [](Narrow& s) { s = L"d"; }},
        {"shared", Shared, "abc", "de/2 x1", [](Narrow& s) { s = L"de"; }},
        {"lock lost", Locked, "abc", "defg/4 x1", [](Narrow& s) { s = L"defg"; }},
        {"null keeps the text", Sole, "a\0b"sv, "=a/3 x1", [](Narrow& s) { s = kNull<wchar_t>; }},
        {"null, shared", Shared, "abc", "/0 nil", [](Narrow& s) { s = kNull<wchar_t>; }},
        {"null, nil", Nil, "", "=/0 nil", [](Narrow& s) { s = kNull<wchar_t>; }},
        {"low byte only", Sole, "abc", "=<AC>/3 x1", [](Narrow& s) { s = wchar_t(0x20AC); }},
        {"low byte 0", Nil, "", "<0>/1 x1", [](Narrow& s) { s = wchar_t(0x100); }},
        {"low byte appended", Roomy, "abc", "=abc<AC>/8 x1",
         [](Narrow& s) { s += wchar_t(0x20AC); }},
    };
    Check(rows);
}

TEST_F(StringConvert, AssigningNarrowTextToAWideString)
{
    const Row<wchar_t> rows[] = {
        {"just fits", Locked, "abcd", "=d<20AC>/4 locked", [](Wide& s) { s = "d\x80"; }},
        {"twice the bytes do not", Sole, "abc", "de/4 x1", [](Wide& s) { s = "de"; }},
        {"lock lost", Locked, "abc", "de/4 x1", [](Wide& s) { s = "de"; }},
        {"null keeps the text", Sole, "a\0b"sv, "=a/3 x1", [](Wide& s) { s = kNull<char>; }},
        {"null bytes too", Sole, "abc", "=abc/3 x1", [](Wide& s) { s = kNull<unsigned char>; }},
        {"null, shared", Shared, "abc", "/0 nil", [](Wide& s) { s = kNull<char>; }},
        {"sign-extended", Sole, "abc", "=<FFE9>/3 x1", [](Wide& s) { s = '\xE9'; }},
        {"sign-extended, appended", Sole, "a", "a<FF80>/2 x1", [](Wide& s) { s += '\x80'; }},
    };
    Check(rows);
}

// The code page is read once in a process, so this one runs in a process of its own.
TEST(StringConvertDeathTest, DoubleByteTextIsCutAtTheCapacity)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const auto convert = [] {
        NameSystemPage("932");
        // U+3042 is 82 A0.
        const Row<char> rows[] = {
            {"fits", Sole, "zzzzzz", "=<82><A0>/6 x1", [](Narrow& s) { s = L"\x3042"; }},
            {"cut, nothing stale", Sole, "zzzzzzz", "=<82><A0><82><A0>/7 x1",
             [](Narrow& s) { s = L"\x3042\x3042\x3042\x3042"; }},
            {"locked", Locked, "zzzz", "=<82><A0>y/4 locked",
             [](Narrow& s) { s = L"\x3042y\x3042"; }},
        };
        Check(rows);
        EXPECT_EQ(Look(Narrow(L"\x3042\x3042")), "<82><A0>/2 x1");
        EXPECT_EQ(Look(Narrow(L"a\x3042")), "a<82>/2 x1");
        EXPECT_EQ(Look(Narrow(L"a\x3042", 2)), "a<82>/2 x1");
        EXPECT_EQ(Look(Narrow(L"\x3042\x3042", 2)), "/2 x1");
        EXPECT_EQ(Look(Wide("\x82\xA0z", 3)), "<3042>z/6 x1");
    };
    EXPECT_EXIT(ExitAfter(convert), testing::ExitedWithCode(0), "");
}

} // namespace
