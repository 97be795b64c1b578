#include <gtest/gtest.h>

#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

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
    const auto end = std::to_chars(text, text + sizeof text, place.As<Number>()).ptr;
    const std::string number(text, end);
    return place.Stored() == sizeof(Number) ? number
                                            : number + " in " + std::to_string(place.Stored());
}

std::string WideText(const Place& place)
{
    const std::size_t length = place.Stored() / 2;
    std::string text = "\"";
    for (std::size_t i = 0; i < length; ++i) {
        wchar_t unit;
        std::memcpy(&unit, &place.bytes[2 * i], sizeof unit);
        text += unit == 0 ? "\\0" : xel_text::ToUtf8(Wide(unit, 1));
    }
    return text + "\"" + (place.Stored() % 2 != 0 ? " and half" : "");
}

std::string NarrowText(const Place& place)
{
    std::string text = "'";
    for (std::size_t i = 0; i < place.Stored(); ++i)
        text += place.bytes[i] == 0 ? "\\0"s : std::string(1, static_cast<char>(place.bytes[i]));
    return text + "'";
}

std::string Show(char type, const Place& place)
{
    if (place.Stored() == 0)
        return "-";
    switch (type) {
    case 'h':
        return NumberText<std::int16_t>(place);
    case 'd':
        return NumberText<std::int32_t>(place);
    case 'u':
        return NumberText<std::uint32_t>(place);
    case 'q':
        return NumberText<std::int64_t>(place);
    case 'p':
        return NumberText<std::uintptr_t>(place);
    case 'f':
        return NumberText<float>(place);
    case 'g':
        return NumberText<double>(place);
    case 's':
        return WideText(place);
    default:
        return NarrowText(place);
    }
}

// The result and every output, one for each letter of `types`.
std::string Scan(const wchar_t* text, const wchar_t* format, std::string_view types)
{
    std::array<Place, 4> places;
    void* addresses[4];
    for (std::size_t i = 0; i < places.size(); ++i)
        addresses[i] = places[i].bytes.data();
    std::string result = std::to_string(scanning::Scan(text, format, addresses, types.size()));
    for (std::size_t i = 0; i < types.size(); ++i)
        result += (i == 0 ? ": " : " ") + Show(types[i], places[i]);
    return result;
}

struct Row {
    const char* rule;
    const wchar_t* text;
    const wchar_t* format;
    const char* types;
    const char* result;
};

template <std::size_t kCount> void Check(const Row (&rows)[kCount])
{
    for (const Row& row : rows)
        EXPECT_EQ(Scan(row.text, row.format, row.types), row.result)
            << row.rule << ": " << xel_text::ToUtf8(Wide(row.format)) << " of "
            << xel_text::ToUtf8(Wide(row.text));
}

} // namespace

TEST(Scan, Integers)
{
    const Row rows[] = {
        {"plain", L"42", L"%d", "d", "1: 42"},
        {"white space, then a rest", L" \t\r\n\v\f42x", L"%d", "d", "1: 42"},
        {"plus", L"+42", L"%d", "d", "1: 42"},
        {"minus", L"-42", L"%d", "d", "1: -42"},
        {"minus of an unsigned one", L"-1", L"%u", "u", "1: 4294967295"},
        {"one sign only", L"+-1", L"%d", "d", "0: -"},
        {"no white space behind the sign", L"- 1", L"%d", "d", "0: -"},
        {"no digits", L"abc", L"%d", "d", "0: -"},
        {"no hexadecimal", L"0x1F", L"%d", "d", "1: 0"},
        {"leading zeros are decimal", L"0089", L"%d", "d", "1: 89"},
        {"hexadecimal, plain", L"fFg", L"%x", "d", "1: 255"},
        {"hexadecimal, prefix", L"0X1f", L"%X", "d", "1: 31"},
        {"hexadecimal, sign and prefix", L"-0x1F", L"%x", "d", "1: -31"},
        {"prefix without digits", L"0xg", L"%x", "d", "0: -"},
        {"not from the middle of a prefix", L"x1F", L"%x", "d", "0: -"},
        {"octal", L"0178", L"%o", "d", "1: 15"},
        {"own prefix: none", L"19", L"%i", "d", "1: 19"},
        {"own prefix: octal", L"017", L"%i", "d", "1: 15"},
        {"own prefix: an octal number ends at an 8", L"08", L"%i", "d", "1: 0"},
        {"own prefix: hexadecimal", L"-0x1f", L"%i", "d", "1: -31"},
        {"pointers have no prefix", L"0000001A2B", L"%p", "p", "1: 6699"},
        {"nor take one", L"0x1A", L"%p", "p", "1: 0"},
        {"digits of other scripts are none", L"\xFF11", L"%d", "d", "0: -"},
        {"nor behind others", L"1\x0661", L"%d", "d", "1: 1"},
        {"letters of other scripts are none", L"1\xFF21", L"%x", "d", "1: 1"},
    };
    Check(rows);
}

TEST(Scan, SizesOfIntegers)
{
    const std::string pointer = sizeof(void*) == 8 ? "1: 4294967298" : "1: 2";
    const Row rows[] = {
        {"none", L"4294967298", L"%d", "d", "1: 2"},
        {"h", L"4294967298", L"%hd", "h", "1: 2"},
        {"l has 32 bits on every host", L"4294967298", L"%ld", "d", "1: 2"},
        {"ll", L"4294967298", L"%lld", "q", "1: 4294967298"},
        {"I64", L"4294967298", L"%I64d", "q", "1: 4294967298"},
        {"I32", L"4294967298", L"%I32d", "d", "1: 2"},
        {"L", L"4294967298", L"%Ld", "d", "1: 2"},
        {"w", L"4294967298", L"%wd", "d", "1: 2"},
        {"I", L"4294967298", L"%Id", "p", pointer.c_str()},
        {"I before other digits is a width", L"4294967298", L"%I6x", "p", "1: 4363414"},
        {"every base has them", L"100000002", L"%I64x", "q", "1: 4294967298"},
    };
    Check(rows);
}

TEST(Scan, IntegersWrap)
{
    const Row rows[] = {
        {"h", L"32768", L"%hd", "h", "1: -32768"},
        {"h, all bits", L"65535", L"%hu", "h", "1: -1"},
        {"h, one more", L"65536", L"%hd", "h", "1: 0"},
        {"h, below", L"-32769", L"%hd", "h", "1: 32767"},
        {"int", L"2147483648", L"%d", "d", "1: -2147483648"},
        {"int, below", L"-2147483649", L"%d", "d", "1: 2147483647"},
        {"unsigned", L"4294967296", L"%u", "u", "1: 0"},
        {"unsigned, below", L"-4294967295", L"%u", "u", "1: 1"},
        {"64 bits", L"9223372036854775808", L"%I64d", "q", "1: -9223372036854775808"},
        {"64 bits, below", L"-9223372036854775809", L"%I64d", "q", "1: 9223372036854775807"},
        {"64 bits, all", L"18446744073709551616", L"%I64d", "q", "1: 0"},
        {"many digits", L"1234567890123456789012345678901234567890", L"%I64d", "q",
         "1: -5999815502254372142"},
        {"many digits, int", L"99999999999999999999", L"%d", "d", "1: 1661992959"},
        {"hexadecimal", L"0x1FFFFFFFFFFFFFFFF0", L"%I64x", "q", "1: -16"},
        {"octal", L"7777777777777777777777760", L"%I64o", "q", "1: -16"},
    };
    Check(rows);
}

TEST(Scan, Floats)
{
    const Row rows[] = {
        {"whole", L"12", L"%lf", "g", "1: 12"},
        {"fraction", L" -3.14159x", L"%lf", "g", "1: -3.14159"},
        {"no digit before the point", L"+.5", L"%lf", "g", "1: 0.5"},
        {"no digit behind it", L"5.", L"%lf%n", "gd", "1: 5 2"},
        {"no digit at all", L".", L"%lf", "g", "0: -"},
        {"exponent without digits", L".e5", L"%lf", "g", "0: -"},
        {"exponent", L"1.5e2", L"%lf", "g", "1: 150"},
        {"exponent, sign", L"15E-1", L"%lf", "g", "1: 1.5"},
        {"exponent, zeros", L"1e+0000000000000000000002", L"%lf", "g", "1: 100"},
        {"an e alone is not of the number", L"1em", L"%lf%s", "gs", "2: 1 \"em\\0\""},
        {"nor with a sign", L"1e+", L"%lf%s", "gs", "2: 1 \"e+\\0\""},
        {"nor before white space", L"1e 5", L"%lf%s", "gs", "2: 1 \"e\\0\""},
        {"one exponent only", L"1e2e3", L"%lf%s", "gs", "2: 100 \"e3\\0\""},
        {"one point only", L"1.5.5", L"%lf%lf", "gg", "2: 1.5 0.5"},
        {"a comma is no point", L"1,5", L"%lf%s", "gs", "2: 1 \",5\\0\""},
        {"negative zero", L"-0.0", L"%lf", "g", "1: -0"},
        {"infinities are no numbers", L"inf", L"%lf", "g", "0: -"},
        {"with a sign neither", L"-INFINITY", L"%lf", "g", "0: -"},
        {"nor is nan", L"nan", L"%lf", "g", "0: -"},
        {"what the formatter makes of them", L"1.#INF", L"%lf%s", "gs", "2: 1 \"#INF\\0\""},
        {"no hexadecimal", L"0x1p3", L"%lf%s", "gs", "2: 0 \"x1p3\\0\""},
        {"no other letter for the e", L"1d5", L"%lf", "g", "1: 1"},
        {"digits of other scripts are none", L"1\xFF11", L"%lf", "g", "1: 1"},
        {"all letters", L"1 2 3 4", L"%le%lE%lg%lG", "gggg", "4: 1 2 3 4"},
        {"without size a float", L"0.1 1 2 3", L"%f%hg%wf%I64f", "ffff", "4: 0.1 1 2 3"},
        {"long double is double", L"0.1 0.2", L"%Lf%llf", "gg", "2: 0.1 0.2"},
    };
    Check(rows);
}

TEST(Scan, FloatsAreTheNearest)
{
    const Row rows[] = {
        {"tie to even", L"9007199254740993", L"%lf", "g", "1: 9007199254740992"},
        {"above the tie", L"9007199254740993.0000001", L"%lf", "g", "1: 9007199254740994"},
        {"17 digits", L"0.30000000000000004", L"%lf", "g", "1: 0.30000000000000004"},
        {"hard to round", L"1e23", L"%lf", "g", "1: 1e+23"},
        {"largest", L"1.7976931348623158e308", L"%lf", "g", "1: 1.7976931348623157e+308"},
        {"beyond", L"1.7976931348623159e308", L"%lf", "g", "1: inf"},
        {"far beyond", L"-1e99999999999999999999", L"%lf", "g", "1: -inf"},
        {"largest denormal", L"2.2250738585072011e-308", L"%lf", "g", "1: 2.225073858507201e-308"},
        {"smallest denormal", L"3e-324", L"%lf", "g", "1: 5e-324"},
        {"below", L"2e-324", L"%lf", "g", "1: 0"},
        {"far below", L"-1e-99999999999999999999", L"%lf", "g", "1: -0"},
        {"nothing stays nothing", L"0e99999999999999999999", L"%lf", "g", "1: 0"},
        {"float, rounded once", L"1.00000017881393432617187499", L"%f", "f", "1: 1.0000001"},
        {"float, largest", L"3.4028235e38", L"%f", "f", "1: 3.4028235e+38"},
        {"float, beyond", L"3.4028236e38", L"%f", "f", "1: inf"},
        {"float, denormal", L"1e-45", L"%f", "f", "1: 1e-45"},
        {"float, below", L"1e-46", L"%f", "f", "1: 0"},
    };
    Check(rows);
}

TEST(Scan, FloatsOfAnyLength)
{
    const auto value = [](const std::string& text) {
        return Scan(xel_text::FromUtf8(text), L"%lf%n", "gd").substr(3);
    };
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

TEST(Scan, Text)
{
    const Row rows[] = {
        {"word", L"  abc def", L"%s", "s", "1: \"abc\\0\""},
        {"words", L"ab cd", L"%s%s", "ss", "2: \"ab\\0\" \"cd\\0\""},
        {"words end at any white space",
         L"a\x3000"
         L"b\xA0"
         L"c\x2029",
         L"%s%s%s", "sss", "3: \"a\\0\" \"b\\0\" \"c\\0\""},
        {"but not at what only looks like it", L"a\x200B\xFEFF\x1Cz", L"%s", "s",
         "1: \"a\xE2\x80\x8B\xEF\xBB\xBF\x1Cz\\0\""},
        {"word, width", L"abcdef", L"%2s%3s", "ss", "2: \"ab\\0\" \"cde\\0\""},
        {"character, white space too", L" a", L"%c", "s", "1: \" \""},
        {"characters, no terminator", L"a bc", L"%3c", "s", "1: \"a b\""},
        {"fewer characters", L"ab", L"%3c", "s", "1: \"ab\""},
        {"of the other width", L"abc", L"%S", "n", "1: 'abc\\0'"},
        {"of the other width, character", L"abc", L"%C", "n", "1: 'a'"},
        {"h is narrow", L"abc def g", L"%hs %hS %hc", "nnn", "3: 'abc\\0' 'def\\0' 'g'"},
        {"l is wide", L"abc def g h", L"%ls %lS %lc %lC", "ssss",
         "4: \"abc\\0\" \"def\\0\" \"g\" \"h\""},
        {"w is wide", L"abc def", L"%ws %wS", "ss", "2: \"abc\\0\" \"def\\0\""},
        {"L is wide", L"abc", L"%LS", "s", "1: \"abc\\0\""},
        {"by the code page", L"\xE9\x20AC\x416", L"%hs", "n", "1: '\xE9\x80?\\0'"},
        {"by the code page, characters", L"\xE9\x20AC\x416", L"%2C", "n", "1: '\xE9\x80'"},
    };
    Check(rows);
}

TEST(Scan, Sets)
{
    const Row rows[] = {
        {"range", L"abcD", L"%[a-z]", "s", "1: \"abc\\0\""},
        {"none of it", L"ABC", L"%[a-z]", "s", "0: -"},
        {"no white space is skipped", L" a", L"%[a-z]", "s", "0: -"},
        {"negated", L"ab,cd", L"%[^,],%s", "ss", "2: \"ab\\0\" \"cd\\0\""},
        {"negated range", L"12ab", L"%[^a-z]", "s", "1: \"12\\0\""},
        {"width", L"abcd", L"%2[a-z]", "s", "1: \"ab\\0\""},
        {"range upside down", L"xyzc", L"%[z-w]", "s", "1: \"xyz\\0\""},
        {"ends of a range", L"adae", L"%[a-d]", "s", "1: \"ada\\0\""},
        {"bracket first", L"]a]b", L"%[]a]", "s", "1: \"]a]\\0\""},
        {"bracket first, negated", L"ab]", L"%[^]]", "s", "1: \"ab\\0\""},
        {"hyphen last", L"a-bc", L"%[ab-]", "s", "1: \"a-b\\0\""},
        {"hyphen first", L"-ab", L"%[-a]", "s", "1: \"-a\\0\""},
        {"hyphen behind a range", L"b-ed", L"%[a-c-e]", "s", "1: \"b-e\\0\""},
        {"hat elsewhere", L"^a^b", L"%[a^]", "s", "1: \"^a^\\0\""},
        {"other scripts",
         L"\x416\x44F"
         L"a",
         L"%[\x410-\x44F]", "s", "1: \"\xD0\x96\xD1\x8F\\0\""},
        {"narrow", L"abcD", L"%h[a-z]", "n", "1: 'abc\\0'"},
        {"suppressed", L"abc5", L"%*[a-z]%d", "d", "1: 5"},
        {"without end", L"abc", L"%[abc", "s", "0: -"},
        {"without end, bracket first", L"]", L"%[]", "s", "0: -"},
        {"without end, negated", L"abc", L"%[^", "s", "0: -"},
    };
    Check(rows);
}

TEST(Scan, WidthsAndSuppression)
{
    const Row rows[] = {
        {"width", L"1234567", L"%5d%d", "dd", "2: 12345 67"},
        {"the sign counts", L"-123", L"%2d%d", "dd", "2: -1 23"},
        {"a sign alone is no number", L"-1", L"%1d", "d", "0: -"},
        {"the prefix counts", L"0x123", L"%3x%x", "dd", "2: 1 35"},
        {"a prefix cut by the width", L"0x1F", L"%1x", "d", "1: 0"},
        {"a prefix and no room for digits", L"0x1F", L"%2x", "d", "0: -"},
        {"white space does not count", L"   12", L"%1d", "d", "1: 1"},
        {"float", L"123.456", L"%5lf%s", "gs", "2: 123.4 \"56\\0\""},
        {"float, point last", L"123.456", L"%4lf%s", "gs", "2: 123 \"456\\0\""},
        {"float, e last", L"1e56", L"%2lf%s", "gs", "2: 1 \"e56\\0\""},
        {"float, part of the exponent", L"1e56", L"%3lf%s", "gs", "2: 1e+05 \"6\\0\""},
        {"0 is no width", L"123", L"%0d", "d", "1: 123"},
        {"leading zeros", L"123", L"%002d", "d", "1: 12"},
        {"any width", L"12", L"%18446744073709551617d", "d", "1: 12"},
        {"suppressed", L"5 6", L"%*d%d", "d", "1: 6"},
        {"suppressed word", L"ab cd", L"%*s%s", "s", "1: \"cd\\0\""},
        {"suppressed float", L"1.5 2.5", L"%*lf%lf", "g", "1: 2.5"},
        {"suppressed with a width", L"1234567", L"%*5d%d", "d", "1: 67"},
        {"only suppressed ones", L"5 6", L"%*d%*d", "", "0"},
        {"suppressed ones that succeeded make the end no failure", L"5", L"%*d%d", "d", "0: -"},
    };
    Check(rows);
}

TEST(Scan, LiteralsAndPositions)
{
    const Row rows[] = {
        {"literal", L"a5", L"a%d", "d", "1: 5"},
        {"case counts", L"A5", L"a%d", "d", "0: -"},
        {"white space is not skipped", L" a5", L"a%d", "d", "0: -"},
        {"unless the format says so", L" \n\xA0 a5", L" a%d", "d", "1: 5"},
        {"white space may be none", L"1,2", L"%d , %d", "dd", "2: 1 2"},
        {"any white space of the format skips any", L"1\x3000\t2", L"%d\r\n%d", "dd", "2: 1 2"},
        {"ends where the text differs", L"1;2", L"%d,%d", "dd", "1: 1 -"},
        {"percent", L"5%6", L"%d%%%d", "dd", "2: 5 6"},
        {"percent skips white space", L" %5", L"%%%d", "d", "1: 5"},
        {"what is no conversion stands for itself", L"5y6", L"%d%y%d", "dd", "2: 5 6"},
        {"format ends in a percent", L"5%", L"%d%", "d", "1: 5"},
        {"format ends in a size", L"5", L"%*I64", "d", "0: -"},
        {"format ends in a width", L"5", L"%5", "d", "0: -"},
        {"format ends in I6", L"5", L"%I6", "d", "0: -"},
        {"format ends", L"5x", L"%d", "d", "1: 5"},
        {"position", L"  12x", L"%d%n", "dd", "1: 12 4"},
        {"position at the start", L"12", L"%n%d", "dd", "1: 0 12"},
        {"position at the end of an empty text", L"", L"%n", "d", "0: 0"},
        {"position, sizes", L"ab", L"ab%hn%I64n", "hq", "0: 2 2"},
        {"position, suppressed", L"5", L"%*n%d", "d", "1: 5"},
    };
    Check(rows);
}

TEST(Scan, EndOfTextBeforeTheFirstConversion)
{
    const Row rows[] = {
        {"empty text", L"", L"%d", "d", "-1: -"},
        {"only white space", L" \t", L"%d", "d", "-1: -"},
        {"only white space, float", L" \t", L"%lf", "g", "-1: -"},
        {"only white space, word", L" \t", L"%s", "s", "-1: -"},
        {"characters", L"", L"%c", "s", "-1: -"},
        {"set", L"", L"%[a]", "s", "-1: -"},
        {"suppressed", L"", L"%*d", "d", "-1: -"},
        {"literal", L"", L"a", "d", "-1: -"},
        {"second literal", L"a", L"ab", "d", "-1: -"},
        {"percent", L" ", L"%%", "d", "-1: -"},
        {"behind the first", L"1", L"%d%d", "dd", "1: 1 -"},
        {"something else is there", L"x", L"%d", "d", "0: -"},
        {"empty format", L"", L"", "d", "0: -"},
        {"format of white space", L"", L" ", "d", "0: -"},
    };
    Check(rows);
}

TEST(Scan, EndsWithoutCrashWhereSomethingIsMissing)
{
    int first = 7, second = 7;
    EXPECT_EQ(swscanf(nullptr, L"%d", &first), -1);
    EXPECT_EQ(swscanf(L"1", nullptr, &first), 0);
    EXPECT_EQ(first, 7);
    EXPECT_EQ(swscanf(L"1 2 3", L"%d %d %d", &first, &second), 2);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 2);
    EXPECT_EQ(swscanf(L"3 4", L"%d %d", static_cast<int*>(nullptr), &second), 0);
    EXPECT_EQ(second, 2);
    EXPECT_EQ(scanning::Scan(L"5", L"%d", nullptr, 0), 0);
}
