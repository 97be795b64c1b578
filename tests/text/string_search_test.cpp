#include <climits>

#include "text/string_states.h"

using namespace string_tests;

namespace {

template <class T> class StringSearch : public StringStatesTest {
};
TYPED_TEST_SUITE(StringSearch, Widths);

TYPED_TEST(StringSearch, FindsTextUpToTheNextZero)
{
    using T = TypeParam;
    const struct {
        std::string_view text;
        const char* sought;
        int start;
        int found;
    } rows[] = {
        {"abcabc", "bc", 0, 1},   {"abcabc", "bc", 1, 1},   {"abcabc", "bc", 2, 4},
        {"abcabc", "bc", 5, -1},  {"abc", "abcd", 0, -1},   {"abc", "", 0, 0},
        {"abc", "", 3, 3},        {"abc", "", 4, -1},       {"abc", "c", INT_MAX, -1},
        {"abc", "a", -1, 0},      {"abc", "b", INT_MIN, 1}, {"", "", 0, 0},
        {"", "a", 0, -1},         {"aab", "ab", 0, 1},      {"ab\0cd"sv, "cd", 0, -1},
        {"ab\0cd"sv, "cd", 3, 3}, {"ab\0cd"sv, "b", 0, 1},
    };
    for (const auto& row : rows) {
        const CXelStringT<T> text = Str<T>(row.text);
        const Text<T> sought(row.sought);
        EXPECT_EQ(text.Find(sought, row.start), row.found) << row.sought << row.start;
        EXPECT_TRUE(row.start != 0 || text.Find(sought) == row.found) << row.sought;
    }
}

TYPED_TEST(StringSearch, FindsCharactersUpToTheNextZero)
{
    using T = TypeParam;
    const struct {
        std::string_view text;
        char sought;
        int start, found, last;
    } rows[] = {
        {"abcabc", 'b', 0, 1, 4},     {"abcabc", 'b', 2, 4, 4},     {"abcabc", 'b', 5, -1, 4},
        {"abc", 'c', 3, -1, 2},       {"abc", 'c', INT_MAX, -1, 2}, {"abc", 'a', -7, 0, 0},
        {"abc", 'x', 0, -1, -1},      {"", 'a', 0, -1, -1},         {"abc", 0, 0, 3, 3},
        {"abc", 0, 3, -1, 3},         {"ab\0ab"sv, 0, 0, 2, 2},     {"ab\0cab"sv, 'c', 0, -1, -1},
        {"ab\0cab"sv, 'c', 3, 3, -1}, {"ab\0ab"sv, 'b', 0, 1, 1},   {"a\xE9", '\xE9', 0, 1, 1},
    };
    for (const auto& row : rows) {
        const CXelStringT<T> text = Str<T>(row.text);
        const T sought = Text<T>(std::string_view(&row.sought, 1))[0];
        EXPECT_EQ(text.Find(sought, row.start), row.found) << row.text << row.sought << row.start;
        EXPECT_EQ(text.ReverseFind(sought), row.last) << row.text << row.sought;
        EXPECT_TRUE(row.start != 0 || text.Find(sought) == row.found) << row.text << row.sought;
    }
    EXPECT_EQ(CXelStringT<T>().Find(T(0)), -1);
}

TYPED_TEST(StringSearch, FindsOneOfASet)
{
    using T = TypeParam;
    const struct {
        std::string_view text;
        const char* set;
        int found;
    } rows[] = {
        {"abc", "xcb", 1}, {"abc", "xyz", -1},   {"abc", "", -1},
        {"", "a", -1},     {"ab\0c"sv, "c", -1}, {"a\xE9", "\xE9", 1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Str<T>(row.text).FindOneOf(Text<T>(row.set)), row.found) << row.text << row.set;
}

// Up to the terminator.
TYPED_TEST(StringSearch, ComparesAndHashesUnsignedUnits)
{
    using T = TypeParam;
    using S = CXelStringT<T>;
    const struct {
        std::string_view text, other;
        int order, withoutCase;
    } rows[] = {
        {"abc", "abf", -1, -1},       {"abc", "abc", 0, 0},  {"", "", 0, 0},
        {"ab", "abc", -1, -1},        {"\xF7", "z", 1, 1},   {"", "a", -1, -1},
        {"z", "\x80", -1, -1},        {"ABC", "abc", -1, 0}, {"_", "A", 1, -1},
        {"ab\0c"sv, "ab", 0, 0},      {"aBz", "AbY", 1, 1},  {"[", "a", -1, -1},
        {"ab\0c"sv, "ab\0d"sv, 0, 0},
    };
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const S text = Str<T>(row.text), second = Str<T>(row.other);
        const Text<T> other(row.other);
        EXPECT_EQ(sizeof(T) > 1 ? text.Compare(other) : sign(text.Compare(other)), row.order);
        EXPECT_EQ(sign(text.CompareNoCase(other)), row.withoutCase);
        EXPECT_TRUE((text == second) == (row.order == 0) && (text != other) == (row.order != 0));
        EXPECT_TRUE((text < second) == (row.order < 0) && (text > other) == (row.order > 0));
        EXPECT_TRUE((second >= text) == (row.order <= 0) && (other <= text) == (row.order >= 0));
        EXPECT_TRUE(row.order != 0 || std::hash<S>()(text) == std::hash<S>()(second));
    }
    EXPECT_TRUE(S() == kNull<T> && Str<T>("a") > kNull<T>);
    EXPECT_NE(std::hash<S>()(Str<T>("a")), std::hash<S>()(Str<T>("b")));
}

TEST(StringSearchCase, OnlyWideTextFoldsBeyondAscii)
{
    EXPECT_EQ(Wide(L"\xC9\x416\x178").CompareNoCase(L"\xE9\x436\xFF"), 0);
    EXPECT_NE(Narrow("\xC9").CompareNoCase("\xE9"), 0);
    EXPECT_EQ(Wide(L"\xFFFF").Compare(L"\xD800"), 1);
}

} // namespace
