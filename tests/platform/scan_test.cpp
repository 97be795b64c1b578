#include <gtest/gtest.h>

#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>

#include "platform/scan_into.h"
#include "support/target.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/text/xel_utf.h"

namespace {

using namespace std::string_literals;
using Wide = xel_text::CXelStringT<wchar_t>;

constexpr unsigned char kUntouched = 0xEE;

// An output of any type.
struct Place {
    Place() { bytes.fill(kUntouched); }

    template <class Number> Number As() const
    {
        Number number;
        std::memcpy(&number, bytes.data(), sizeof number);
        return number;
    }
    // The number of bytes up to the last one that was stored.
    std::size_t Stored() const
    {
        std::size_t size = bytes.size();
        while (size > 0 && bytes[size - 1] == kUntouched)
            --size;
        return size;
    }

    alignas(8) std::array<unsigned char, 64> bytes;
};

template <class Number> std::string NumberText(const Place& place)
{
    char text[40];
    const std::string number(text, std::to_chars(text, text + 40, place.As<Number>()).ptr);
    return number + (place.Stored() == sizeof(Number) ? "" : " of another size");
}

// A zero as "|".
std::string TextOf(const Place& place, std::size_t unitSize)
{
    std::string text;
    for (std::size_t i = 0; i < place.Stored(); i += unitSize) {
        const unsigned char low = place.bytes[i];
        const auto unit = static_cast<wchar_t>(unitSize == 1 ? low : low | place.bytes[i + 1] << 8);
        text += unit == 0       ? "|"s
                : unitSize == 1 ? std::string(1, static_cast<char>(low))
                                : xel_text::ToUtf8(Wide(unit, 1));
    }
    return unitSize == 1 ? "'" + text + "'" : text + (place.Stored() % 2 != 0 ? " and half" : "");
}

std::string Show(char type, const Place& place)
{
    if (place.Stored() == 0)
        return "-";
    return type == 'h'   ? NumberText<std::int16_t>(place)
           : type == 'd' ? NumberText<std::int32_t>(place)
           : type == 'u' ? NumberText<std::uint32_t>(place)
           : type == 'q' ? NumberText<std::int64_t>(place)
           : type == 'p' ? NumberText<std::uintptr_t>(place)
           : type == 'f' ? NumberText<float>(place)
           : type == 'g' ? NumberText<double>(place)
                         : TextOf(place, type == 's' ? 2 : 1);
}

// The result and every output, one for each letter of `types`.
std::string Scan(const std::string& text, const char* format, std::string_view types)
{
    std::array<Place, 4> places;
    void* addresses[4];
    for (std::size_t i = 0; i < places.size(); ++i)
        addresses[i] = places[i].bytes.data();
    std::string result = std::to_string(
        ScanInto(xel_text::FromUtf8(text), xel_text::FromUtf8(format), addresses, types.size()));
    for (std::size_t i = 0; i < types.size(); ++i)
        result += (i == 0 ? ": " : " ") + Show(types[i], places[i]);
    return result;
}

struct Row {
    const char* text;
    const char* format;
    const char* types;
    const char* result;
    // Where Wine's run-time gives another one. It has a parser of numbers of its own, which takes
    // back no character that begins what then is no exponent.
    const char* desktop = nullptr;
};

// Checks the rows it is made of.
struct CheckAll {
    CheckAll(std::initializer_list<Row> rows)
    {
        for (const Row& row : rows)
            EXPECT_EQ(Scan(row.text, row.format, row.types),
                      row.desktop ? OnHost(row.result, row.desktop) : row.result)
                << row.format << " of " << row.text;
    }
};

} // namespace

// Only %x takes a prefix, %p none, %i its own; digits of other scripts are none.
TEST(Scan, IntegersThatMayWrap)
{
    CheckAll{
        {" \t\r\n\v\f42x", "%d", "d", "1: 42"},
        {"2147483648", "%d", "d", "1: -2147483648"},
        {"-2147483649", "%d", "d", "1: 2147483647"},
        {"9223372036854775808", "%I64d", "q", "1: -9223372036854775808"},
        {"-9223372036854775809", "%I64d", "q", "1: 9223372036854775807"},
        {"18446744073709551616", "%I64d", "q", "1: 0"},
        {"1234567890123456789012345678901234567890", "%I64d", "q", "1: -5999815502254372142"},
        {"0x1FFFFFFFFFFFFFFFF0", "%I64x", "q", "1: -16"},
    };
    CheckAll{
        {"0000001A2B", "%p", "p", "1: 6699"}, {"-1", "%u", "u", "1: 4294967295"},
        {"-0x1F", "%x", "d", "1: -31"},       {"-0x1f", "%i", "d", "1: -31"},
        {"\xEF\xBC\x91", "%d", "d", "0: -"},  {"1\xD9\xA1", "%d", "d", "1: 1"},
        {"1\xEF\xBC\xA1", "%x", "d", "1: 1"}, {"32768", "%hd", "h", "1: -32768"},
        {"65535", "%hu", "h", "1: -1"},       {"-32769", "%hd", "h", "1: 32767"},
        {"4294967296", "%u", "u", "1: 0"},    {"-4294967295", "%u", "u", "1: 1"},
    };
    CheckAll{
        {"-42", "%d", "d", "1: -42"}, {"0089", "%d", "d", "1: 89"}, {"fFg", "%x", "d", "1: 255"},
        {"0X1f", "%X", "d", "1: 31"}, {"+42", "%d", "d", "1: 42"},  {"+-1", "%d", "d", "0: -"},
        {"- 1", "%d", "d", "0: -"},   {"abc", "%d", "d", "0: -"},   {"0x1F", "%d", "d", "1: 0"},
        {"0xg", "%x", "d", "0: -"},   {"x1F", "%x", "d", "0: -"},   {"19", "%i", "d", "1: 19"},
        {"017", "%i", "d", "1: 15"},  {"08", "%i", "d", "1: 0"},    {"0x1A", "%p", "p", "1: 0"},
    };
}

// "l" has 32 bits on every host; "I" before other digits than 32 and 64 is a width.
TEST(Scan, SizesOfIntegers)
{
    const std::string pointer = sizeof(void*) == 8 ? "1: 4294967298" : "1: 2";
    CheckAll{
        {"4294967298", "%d", "d", "1: 2"},           {"4294967298", "%hd", "h", "1: 2"},
        {"4294967298", "%ld", "d", "1: 2"},          {"4294967298", "%I32d", "d", "1: 2"},
        {"4294967298", "%Ld", "d", "1: 2"},          {"4294967298", "%wd", "d", "1: 2"},
        {"4294967298", "%Id", "p", pointer.c_str()}, {"4294967298", "%I6x", "p", "1: 4363414"},
    };
    CheckAll{
        {"4294967298", "%lld", "q", "1: 4294967298"},
        {"4294967298", "%I64d", "q", "1: 4294967298"},
        {"100000002", "%I64x", "q", "1: 4294967298"},
    };
}

// An "e" without digits behind it is not of the number. Neither infinities nor nan are numbers.
TEST(Scan, FloatsAreTheNearest)
{
    CheckAll{
        {"12", "%lf", "g", "1: 12"},   {"inf", "%lf", "g", "0: -"},  {"nan", "%lf", "g", "0: -"},
        {"+.5", "%lf", "g", "1: 0.5"}, {"1e-46", "%f", "f", "1: 0"},
    };
    CheckAll{
        {"5.", "%lf%n", "gd", "1: 5 2"},         {"2e-324", "%lf", "g", "1: 0"},
        {"15E-1", "%lf", "g", "1: 1.5"},         {"1\xEF\xBC\x91", "%lf", "g", "1: 1"},
        {"1.5.5", "%lf%lf", "gg", "2: 1.5 0.5"}, {"1,5", "%lf%s", "gs", "2: 1 ,5|"},
        {"1e2e3", "%lf%s", "gs", "2: 100 e3|"},  {"0x1p3", "%lf%s", "gs", "2: 0 x1p3|"},
        {"1e23", "%lf", "g", "1: 1e+23"},        {"3e-324", "%lf", "g", "1: 5e-324"},
        {"3.4028236e38", "%f", "f", "1: inf"},   {"1e-45", "%f", "f", "1: 1e-45"},
    };
    CheckAll{
        {" -3.14159x", "%lf", "g", "1: -3.14159"},
        {"1.#INF", "%lf%s", "gs", "2: 1 #INF|"},
        {"0.1 0.2", "%Lf%llf", "gg", "2: 0.1 0.2"},
        {"1e+0000000000000000000002", "%lf", "g", "1: 100"},
        {"1 2 3 4", "%le%lE%lg%lG", "gggg", "4: 1 2 3 4"},
        {"0.1 1 2 3", "%f%hg%wf%I64f", "ffff", "4: 0.1 1 2 3"},
        {"9007199254740993", "%lf", "g", "1: 9007199254740992"},
        {"9007199254740993.0000001", "%lf", "g", "1: 9007199254740994"},
        {"0.30000000000000004", "%lf", "g", "1: 0.30000000000000004"},
        {"1.7976931348623158e308", "%lf", "g", "1: 1.7976931348623157e+308"},
        {"1.7976931348623159e308", "%lf", "g", "1: inf"},
        {"-1e99999999999999999999", "%lf", "g", "1: -inf"},
        {"2.2250738585072011e-308", "%lf", "g", "1: 2.225073858507201e-308"},
        {"-1e-99999999999999999999", "%lf", "g", "1: -0"},
        {"0e99999999999999999999", "%lf", "g", "1: 0"},
    };
    CheckAll{
        {".", "%lf", "g", "0: -", "-1: -"},
        {".e5", "%lf", "g", "0: -", "-1: -"},
        {"1d5", "%lf", "g", "1: 1", "1: 1e+05"},
        {"1em", "%lf%s", "gs", "2: 1 em|", "-1: - -"},
        {"1e+", "%lf%s", "gs", "2: 1 e+|", "-1: - -"},
        {"1e 5", "%lf%s", "gs", "2: 1 e|", "-1: - -"},
        {"-INFINITY", "%lf", "g", "0: -", "-1: -"},
        {"1.00000017881393432617187499", "%f", "f", "1: 1.0000001", "1: 1.0000002"},
    };
}

TEST(Scan, FloatsOfAnyLength)
{
    const auto value = [](const std::string& text) { return Scan(text, "%lf%n", "gd").substr(3); };
    const std::string zeros(5000, '0');
    const std::string tie = "9007199254740993.";
    for (const std::size_t count : {50u, 783u, 784u, 785u, 5000u}) {
        const std::string text = tie + std::string(count, '0');
        const std::string read = std::to_string(text.size());
        EXPECT_EQ(value(text), "9007199254740992 " + read);
        EXPECT_EQ(value(text + "1"), "9007199254740994 " + std::to_string(text.size() + 1));
    }
    EXPECT_EQ(value("1" + zeros + "e-5000"), "1 5007");
    EXPECT_EQ(value("0." + zeros + "1e5001"), "1 5008");
    EXPECT_EQ(value("1" + std::string(200000, '0') + "e-200000"), "1 200009");
    EXPECT_EQ(value(zeros + "1.5" + zeros), "1.5 10003");
    EXPECT_EQ(value("1" + zeros), "inf 5001");
    EXPECT_EQ(value("-0." + zeros + "1"), "-0 5004");
    EXPECT_EQ(value("." + zeros), "0 5001");
}

// Words end at any white space, but not at what only looks like it; a set without end takes
// nothing. A "|" shows a zero.
TEST(Scan, TextAndSets)
{
    CheckAll{
        {"  abc def", "%s", "s", "1: abc|"},          {"abcD", "%[a-z]", "s", "1: abc|"},
        {"12ab", "%[^a-z]", "s", "1: 12|"},           {"abcd", "%2[a-z]", "s", "1: ab|"},
        {"xyzc", "%[z-w]", "s", "1: xyz|"},           {"adae", "%[a-d]", "s", "1: ada|"},
        {"a-bc", "%[ab-]", "s", "1: a-b|"},           {"abc5", "%*[a-z]%d", "d", "1: 5"},
        {"ab cd", "%s%s", "ss", "2: ab| cd|"},        {"abcdef", "%2s%3s", "ss", "2: ab| cde|"},
        {"abc def", "%ws %wS", "ss", "2: abc| def|"}, {"b-ed", "%[a-c-e]", "s", "1: b-e|"},
        {"ab,cd", "%[^,],%s", "ss", "2: ab| cd|"},
    };
    CheckAll{
        {"a bc", "%3c", "s", "1: a b"},    {"ab", "%3c", "s", "1: ab"},
        {"abc", "%S", "n", "1: 'abc|'"},   {"abc", "%C", "n", "1: 'a'"},
        {"]a]b", "%[]a]", "s", "1: ]a]|"}, {"ab]", "%[^]]", "s", "1: ab|"},
        {"-ab", "%[-a]", "s", "1: -a|"},   {"^a^b", "%[a^]", "s", "1: ^a^|"},
    };
    CheckAll{
        {"a\xE3\x80\x80\x62\xC2\xA0\x63\xE2\x80\xA9", "%s%s%s", "sss", "3: a| b| c|"},
        {"a\xE2\x80\x8B\xEF\xBB\xBF\x1Cz", "%s", "s", "1: a\xE2\x80\x8B\xEF\xBB\xBF\x1Cz|"},
        {"abc def g", "%hs %hS %hc", "nnn", "3: 'abc|' 'def|' 'g'"},
        {"abc def g h", "%ls %lS %lc %lC", "ssss", "4: abc| def| g h"},
        {"\xD0\x96\xD1\x8F\x61", "%[\xD0\x90-\xD1\x8F]", "s", "1: \xD0\x96\xD1\x8F|"},
    };
    CheckAll{
        {"abcD", "%h[a-z]", "n", "1: 'abc|'", "1: 'a|b|c|||'"},
        {"abc", "%LS", "s", "1: abc|", "1: \u6261c"},
        {"ABC", "%[a-z]", "s", "0: -", "0: |"},
        {" a", "%[a-z]", "s", "0: -", "0: |"},
        {"abc", "%[abc", "s", "0: -", "1: abc|"},
        {"]", "%[]", "s", "0: -", "1: ]|"},
        {"abc", "%[^", "s", "0: -", "1: abc|"},
        {"\xC3\xA9\xE2\x82\xAC\xD0\x96", "%hs", "n", "1: '\xE9\x80?|'", "1: '\xE9\xAC\x16|'"},
        {"\xC3\xA9\xE2\x82\xAC\xD0\x96", "%2C", "n", "1: '\xE9\x80'", "1: '\xE9\xAC'"},
    };
}

// Signs and prefixes count for the width, white space does not; 0 is no width. White space of the
// format skips any; what is no conversion stands for itself. At the end of the text before the
// first conversion, suppressed ones included, the result is -1.
TEST(Scan, WidthsLiteralsPositionsAndEnds)
{
    CheckAll{
        {"1234567", "%5d%d", "dd", "2: 12345 67"},
        {" \n\xC2\xA0 a5", " a%d", "d", "1: 5"},
        {"1\xE3\x80\x80\t2", "%d\r\n%d", "dd", "2: 1 2"},
    };
    CheckAll{
        {"1.5 2.5", "%*lf%lf", "g", "1: 2.5"}, {"0x123", "%3x%x", "dd", "2: 1 35"},
        {"1234567", "%*5d%d", "d", "1: 67"},   {"-123", "%2d%d", "dd", "2: -1 23"},
        {"1,2", "%d , %d", "dd", "2: 1 2"},    {"5%6", "%d%%%d", "dd", "2: 5 6"},
        {"5y6", "%d%y%d", "dd", "2: 5 6"},     {"  12x", "%d%n", "dd", "1: 12 4"},
        {"123", "%002d", "d", "1: 12"},        {"12", "%n%d", "dd", "1: 0 12"},
        {"1;2", "%d,%d", "dd", "1: 1 -"},
    };
    CheckAll{
        {"-1", "%1d", "d", "0: -"},    {"5 6", "%*d%*d", "", "0"},    {"5", "%*d%d", "d", "0: -"},
        {"a5", "a%d", "d", "1: 5"},    {"A5", "a%d", "d", "0: -"},    {" a5", "a%d", "d", "0: -"},
        {"5%", "%d%", "d", "1: 5"},    {"5", "%*I64", "d", "0: -"},   {"5", "%5", "d", "0: -"},
        {"5", "%I6", "d", "0: -"},     {"5x", "%d", "d", "1: 5"},     {"5", "%*n%d", "d", "1: 5"},
        {"", "%d", "d", "-1: -"},      {"", "%c", "s", "-1: -"},      {"", "%[a]", "s", "-1: -"},
        {"", "%*d", "d", "-1: -"},     {"", "a", "d", "-1: -"},       {"x", "%d", "d", "0: -"},
        {"", "", "d", "0: -"},         {"0x1F", "%1x", "d", "1: 0"},  {"0x1F", "%2x", "d", "0: -"},
        {"   12", "%1d", "d", "1: 1"}, {"123", "%0d", "d", "1: 123"}, {"5 6", "%*d%d", "d", "1: 6"},
        {" %5", "%%%d", "d", "1: 5"},  {"1", "%d%d", "dd", "1: 1 -"},
    };
    CheckAll{
        {"123.456", "%5lf%s", "gs", "2: 123.4 56|", "1: 123.4 -"},
        {"123.456", "%4lf%s", "gs", "2: 123 456|", "1: 123 -"},
        {"12", "%18446744073709551617d", "d", "1: 12", "1: 1"},
        {"1e56", "%2lf%s", "gs", "2: 1 e56|", "-1: - -"},
        {"1e56", "%3lf%s", "gs", "2: 1e+05 6|", "1: 1e+05 -"},
        {"ab", "ab%hn%I64n", "hq", "0: 2 2",
         "0: 2 of another size -1229782942255939582 of another size"},
        {"", "%n", "d", "0: 0", "-1: -"},
        {" \t", "%d", "d", "-1: -", "0: -"},
        {"a", "ab", "d", "-1: -", "0: -"},
        {" ", "%%", "d", "-1: -", "0: -"},
        {"", " ", "d", "0: -", "-1: -"},
        {" \t", "%lf", "g", "-1: -", "0: -"},
        {" \t", "%s", "s", "-1: -", "0: -"},
    };
}

TEST(Scan, EndsWithoutCrashWhereSomethingIsMissing)
{
    int number = 7;
    EXPECT_EQ(swscanf(nullptr, L"%d", &number), -1);
    EXPECT_EQ(swscanf(L"1", nullptr, &number), 0);
    EXPECT_EQ(number, 7);
}

TEST(Scan, EndsWhereAnAddressIsMissing)
{
    int first = 7, second = 7;
    EXPECT_EQ(swscanf(L"1 2 3", L"%d %d %d", &first, &second), 2);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 2);
    EXPECT_EQ(swscanf(L"3 4", L"%d %d", static_cast<int*>(nullptr), &second), 0);
    EXPECT_EQ(second, 2);
    EXPECT_EQ(ScanInto(L"5", L"%d", nullptr, 0), 0);
}
