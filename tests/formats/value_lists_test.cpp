#include <climits>

#include "text/string_states.h"
#include "xelutils/formats/xel_formats.h"

using namespace string_tests;
using namespace xel_formats;

namespace {

class ValueLists : public StringStatesTest {};

// "[a][][b<0>]": the values in brackets, one after the other.
template <class List> std::string Shown(const List& values)
{
    std::string shown;
    for (const Wide& value : values) {
        const std::string look = Look(value);
        shown += "[" + look.substr(0, look.rfind('/')) + "]";
    }
    return shown;
}

StringArray ArrayOf(std::initializer_list<std::string_view> values)
{
    StringArray array;
    for (const std::string_view value : values)
        array.push_back(Str<wchar_t>(value));
    return array;
}

TEST_F(ValueLists, SplitAtAnyOfTheDelimiters)
{
    const struct {
        std::string_view text;
        const wchar_t* delimiters;
        const char* values;
    } rows[] = {
        {"a, b ,c", L",", "[a][b][c]"},         {"a,b", L"", "[a,b]"},        {"", L",", "[]"},
        {"a;b,c", L",;", "[a][b][c]"},          {" \t\v\f ", L",", "[]"},     {"a", L",", "[a]"},
        {"a\r\nb,\n c d\r", L",", "[ab][c d]"}, {"a,,b", L",", "[a][,b]"},    {"a,", L",", "[a]"},
        {"a,;b,c", L",;", "[a][;b,c]"},         {"a, ,b", L",", "[a][][b]"},  {",a", L",", "[,a]"},
        {"a,b\0,c"sv, L",", "[a][b<0>,c]"},     {"a, ,", L",", "[a][]"},      {",", L",", "[,]"},
        {"a,\0,c"sv, L",", "[a][<0>,c]"},       {"a,\n,b", L",", "[a][][b]"},
    };
    for (const auto& row : rows) {
        StringArray values = ArrayOf({"old"});
        EXPECT_TRUE(ParseDelimitersValues(Str<wchar_t>(row.text), values, row.delimiters));
        EXPECT_EQ(Shown(values), std::string("[old]") + row.values) << row.text;
    }
}

TEST_F(ValueLists, SplitAtOneDelimiterAndRefuse)
{
    const struct {
        std::string_view text;
        char delimiter;
        const wchar_t* forbidden;
        bool accepted;
        const char* values;
    } rows[] = {
        {"b\0;c"sv, ';', L"c", true, "[b<0>;c]"},     {"a", ';', L"", true, "[a]"},
        {" x ;y\r\n", ';', L"", true, "[x][y]"},      {"a,", ',', L"", true, "[a]"},
        {"a,,b", ',', L"", true, "[a][][b]"},         {"a,,", ',', L"", true, "[a][]"},
        {"a\r\nb, c d", ',', L"", true, "[ab][c d]"}, {"a,\n", ',', L"", true, "[a][]"},
        {",a,b", ',', L"", true, "[,a,b]"},           {",", ',', L"", true, "[,]"},
        {"a;b=c;d", ';', L"=", false, "[a]"},         {" ,a", ',', L"", true, "[][a]"},
        {"a;b;c", ';', L"xyz", true, "[a][b][c]"},    {"a=;b", ';', L"=", false, ""},
        {"a;b!;c", ';', L"=!", false, "[a]"},         {",a;b", ',', L",", false, ""},
        {" a \r\n;b", ';', L" \r\n", true, "[a][b]"}, {"a b;c", ';', L" ", false, ""},
        {"a\0b"sv, '\0', L"", true, "[a][b]"},        {"ab", '\0', L"", true, "[ab]"},
        {"\0ab"sv, '\0', L"", true, "[<0>ab]"},
    };
    for (const auto& row : rows) {
        StringArray values = ArrayOf({"old"});
        EXPECT_EQ(ParseValues(Str<wchar_t>(row.text), values, row.delimiter, row.forbidden),
                  row.accepted)
            << row.text;
        EXPECT_EQ(Shown(values), std::string("[old]") + row.values) << row.text;
    }
}

TEST_F(ValueLists, DelimiterIsWidenedWithItsSign)
{
    StringArray values;
    EXPECT_TRUE(ParseValues(L"a\xE9z\xFFE9z", values, '\xE9', L""));
    EXPECT_EQ(Shown(values), "[a<E9>z][z]");
}

// The list is full, so that the first value moves its elements.
TEST_F(ValueLists, TextsMayBeElementsOfTheListTheyGoTo)
{
    StringArray values = ArrayOf({"a;b;c;d;e;f", ";"});
    EXPECT_TRUE(ParseDelimitersValues(values[0], values, values[1]));
    EXPECT_EQ(Shown(values), "[a;b;c;d;e;f][;][a][b][c][d][e][f]");

    StringArray others = ArrayOf({"a;b;c;d;e;f=;g", "="});
    EXPECT_FALSE(ParseValues(others[0], others, ';', others[1]));
    EXPECT_EQ(Shown(others), "[a;b;c;d;e;f=;g][=][a][b][c][d][e]");
}

TEST_F(ValueLists, TextOfManyValues)
{
    constexpr int kValues = 20000;
    const Wide text(L',', kValues);
    StringArray values;
    EXPECT_TRUE(ParseValues(L"a" + text, values, ',', L""));
    EXPECT_EQ(values.size(), std::size_t{kValues});
    EXPECT_EQ(StringArrayToString(values), L"a" + text.Left(kValues - 1));
}

TEST_F(ValueLists, Joined)
{
    const struct {
        std::initializer_list<std::string_view> values;
        std::string_view look;
    } rows[] = {
        {{"a", "", "b"}, "a,,b/4 x1"},     {{"a"}, "a/1 x1"},    {{""}, "/0 nil"}, {{}, "/0 nil"},
        {{"a\0b"sv, "c"}, "a<0>b,c/5 x1"}, {{"", ""}, ",/1 x1"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Look(StringArrayToString(ArrayOf(row.values))), row.look);
}

TEST_F(ValueLists, Membership)
{
    const StringArray values = ArrayOf({"ABC", "", "x\0y"sv});
    const struct {
        std::string_view text;
        bool found;
    } rows[] = {
        {"ABC", true}, {"abc", false},     {"AB", false}, {"ABCD", false},
        {"", true},    {"ABC\0x"sv, true}, {"x", true},   {"y", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(IsStringInStringArray(values, Str<wchar_t>(row.text)), row.found) << row.text;
    EXPECT_FALSE(IsStringInStringArray(StringArray(), L""));

    UIntArray numbers;
    EXPECT_FALSE(IsUIntInUIntArray(numbers, 0));
    numbers.push_back(0xFFFFFFFF);
    numbers.push_back(0x80000000);
    EXPECT_TRUE(IsUIntInUIntArray(numbers, -1));
    EXPECT_TRUE(IsUIntInUIntArray(numbers, INT_MIN));
    EXPECT_FALSE(IsUIntInUIntArray(numbers, 0));
}

TEST_F(ValueLists, NextToken)
{
    const struct {
        std::string_view text;
        const wchar_t* delimiters;
        int position;
        const char* token;
        int next;
    } rows[] = {
        {" a  b ", L" ", 0, "[a]", 3},         {"a", L",", 0, "[a]", 2},
        {" a  b ", L" ", 3, "[b]", 6},         {"a", L",", 2, "[]", -1},
        {" a  b ", L" ", 6, "[]", -1},         {"a", L",", 1, "[]", -1},
        {",;a;,b", L",;", 0, "[a]", 4},        {"ab", L",", 1, "[b]", 3},
        {"abc", L",", INT_MAX, "[]", -1},      {",,", L",", 0, "[]", -1},
        {"abc", L",", INT_MIN, "[]", INT_MIN}, {"", L",", 0, "[]", -1},
        {"abc", nullptr, 1, "[bc]", 1},        {"abc", L",", -1, "[]", -1},
        {"abc", nullptr, 3, "[]", -1},         {"abc", L"", 0, "[abc]", 0},
        {"abc", nullptr, INT_MAX, "[]", -1},   {"\0b"sv, L",", 0, "[]", 1},
        {"abc", nullptr, -7, "[]", -7},        {",\0"sv, L",", 0, "[]", 2},
        {"a\0b"sv, L",", 0, "[a]", 2},
    };
    for (const auto& row : rows) {
        int position = row.position;
        const StringVector token{Tokenize(Str<wchar_t>(row.text), row.delimiters, position)};
        EXPECT_EQ(Shown(token), row.token) << row.text << " from " << row.position;
        EXPECT_EQ(position, row.next) << row.text << " from " << row.position;
    }
}

TEST_F(ValueLists, AllTokens)
{
    const struct {
        std::string_view text;
        const wchar_t* delimiters;
        const char* tokens;
    } rows[] = {
        {" a  b ", L" ", "[a][b]"},     {"a", L",", "[a]"},        {"", L",", ""},
        {"a,;b;c", L";,", "[a][b][c]"}, {"a b", L",", "[a b]"},    {",,", L",", ""},
        {"a\0b"sv, L",", "[a][b]"},     {"a b", nullptr, "[a b]"}, {"", nullptr, ""},
        {"a\0\0b"sv, L",", "[a][][b]"}, {"a b", L"", "[a b]"},
    };
    for (const auto& row : rows) {
        StringVector tokens{L"old", L"older"};
        Tokenize(Str<wchar_t>(row.text), tokens, row.delimiters);
        EXPECT_EQ(Shown(tokens), row.tokens) << row.text;
    }
}

TEST_F(ValueLists, TokensMayReplaceTheTextAndTheDelimiters)
{
    StringVector tokens{L"a;b;c", L";"};
    Tokenize(tokens[0], tokens, tokens[1]);
    EXPECT_EQ(Shown(tokens), "[a][b][c]");
    Tokenize(tokens[1], tokens, nullptr);
    EXPECT_EQ(Shown(tokens), "[b]");
}

} // namespace
