#include <cfloat>
#include <climits>
#include <cmath>
#include <iterator>
#include <limits>

#include "support/comma_locale.h"
#include "support/target.h"
#include "text/string_states.h"
#include "xelutils/formats/xel_formats.h"

using namespace string_tests;
using namespace xel_formats;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kSmallest = std::numeric_limits<double>::denorm_min();

class NumberText : public InEachLocale<StringStatesTest> {};
INSTANTIATE_IN_EACH_LOCALE(NumberText);

// ---- Numbers to text -----------------------------------------------------------------------

TEST_P(NumberText, IntegersOfEveryWidth)
{
    EXPECT_EQ(IntToString(INT_MAX), Wide(L"2147483647"));
    EXPECT_EQ(IntToString(INT_MIN), Wide(L"-2147483648"));
    EXPECT_EQ(UIntToString(UINT_MAX), Wide(L"4294967295"));
    EXPECT_EQ(Int64ToString(LLONG_MAX), Wide(L"9223372036854775807"));
    EXPECT_EQ(Int64ToString(LLONG_MIN), Wide(L"-9223372036854775808"));
}

// Not rounded at the cut; the sign counts, and the last character may be the point.
TEST_P(NumberText, DoublesWithoutTrailingZerosCutAt14Or15Characters)
{
    const struct {
        double value;
        const wchar_t* text;
    } rows[] = {
        {0.0001220703125, L"0.000122070313"},   {0.1 + 0.2, L"0.3"},          {0.0, L"0"},
        {-0.0001220703125, L"-0.000122070313"}, {1e-12, L"0.000000000001"},   {-0.0, L"-0"},
        {1.0001220703125, L"1.000122070313"},   {9.9999999999999, L"10"},     {0.1, L"0.1"},
        {12345678901234, L"12345678901234"},    {1e13, L"10000000000000"},    {1.5, L"1.5"},
        {123456789012345, L"12345678901234"},   {1e20, L"10000000000000"},    {2.0, L"2"},
        {-1234567890123, L"-1234567890123"},    {1e300, L"10000000000000"},   {1200, L"1200"},
        {-12345678901239, L"-1234567890123"},   {-1e300, L"-1000000000000"},  {1200.5, L"1200.5"},
        {123456789012.25, L"123456789012.25"},  {DBL_MAX, L"17976931348623"}, {-0.25, L"-0.25"},
        {1234567890123.75, L"1234567890123.7"}, {kInfinity, L"1.#INF"},       {kSmallest, L"0"},
        {12345678901234.5, L"12345678901234."}, {-kInfinity, L"-1.#INF"},     {-kSmallest, L"-0"},
        {-1234567890123.5, L"-1234567890123."},
    };
    for (const auto& row : rows)
        EXPECT_EQ(DoubleToString(row.value), Wide(row.text)) << row.value;
}

TEST_P(NumberText, DoublesWithAsManyDecimalsAsAskedFor)
{
    // Wine's run-time knows no negative one.
    constexpr const wchar_t* kNegative = OnHost(L"0.333333", L"   0.");
    // Ties go away from zero; what only looks like one does not.
    const struct {
        double value;
        int precision;
        const wchar_t* text;
    } rows[] = {
        {1e15, 1, L"1000000000000000.0"}, {3.14159, 1, L"3.1"},   {1.0, 0, L"1"},
        {0.1, 9, L"0.100000000"},         {-0.04, 1, L"-0.0"},    {0.0, 1, L"0.0"},
        {1.0, 10, L"1.0000000000"},       {0.1, 2, L"0.10"},      {2.0, 1, L"2.0"},
        {0.1, 12, L"0.100000000000"},     {0.1, 3, L"0.100"},     {0.5, 0, L"1"},
        {0.1, 15, L"0.100000000000000"},  {0.1, 6, L"0.100000"},  {2.5, 0, L"3"},
        {kSmallest, 2, L"0.00"},          {-1, -1, L"-1.000000"}, {0.25, 1, L"0.3"},
        {1.0 / 3, -5, kNegative},         {0.125, 2, L"0.13"},    {-0.0, 0, L"-0"},
        {-0.0625, 3, L"-0.063"},          {1.005, 2, L"1.00"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(DoubleToString(row.value, row.precision), Wide(row.text))
            << row.value << " to " << row.precision;
}

TEST_P(NumberText, ManyDecimalsAreCutAt2048Characters)
{
    const struct {
        int precision, length;
    } rows[] = {{2045, 2047}, {2046, 2048}, {2047, 2048}, {3000, 2048}};
    for (const auto& row : rows) {
        EXPECT_EQ(DoubleToString(7, row.precision), L"7." + Wide(L'0', row.length - 2));
    }
    // The run-time of Wine does not come to the number then.
    EXPECT_EQ(DoubleToString(7, INT_MAX), OnHost(L"7." + Wide(L'0', 2046), Wide(L' ', 2048)));
}

TEST_P(NumberText, SpansOfTime)
{
    const struct {
        LONG seconds;
        const wchar_t* text;
    } rows[] = {
        {0, L"00:00:00"},       {59, L"00:00:59"},          {60, L"00:01:00"},
        {3599, L"00:59:59"},    {3600, L"01:00:00"},        {90061, L"25:01:01"},
        {360000, L"100:00:00"}, {INT_MAX, L"596523:14:07"}, {INT_MIN, L"596523:14:08"},
        {-1, L"1193046:28:15"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(TimeSpanToString(CTimeSpan(row.seconds)), Wide(row.text)) << row.seconds;
}

// ---- Text to numbers -----------------------------------------------------------------------

template <class Number> struct Scanned {
    const wchar_t* text;
    bool isNumber;
    Number value;
};

template <class Number, std::size_t N, class Text>
void CheckScan(const Scanned<Number> (&rows)[N], bool (*scan)(Text, Number&))
{
    for (const auto& row : rows) {
        // Neighbours show a number that is stored wider than it is.
        Number values[] = {77, 77, 77};
        SCOPED_TRACE(testing::PrintToString(Wide(row.text)));
        EXPECT_EQ(scan(row.text, values[1]), row.isNumber);
        EXPECT_EQ(values[1], row.value);
        EXPECT_TRUE(values[0] == 77 && values[2] == 77);
    }
}

// What does not fit wraps.
TEST_P(NumberText, IntegersFromText)
{
    const Scanned<int> rows[] = {
        {L"\t\r\n\v\f 5", true, 5},      {L" 42x", true, 42}, {L"0", true, 0},
        {L"2147483647", true, INT_MAX},  {L"007", true, 7},   {L"-0", true, 0},
        {L"-2147483648", true, INT_MIN}, {L"1.9", true, 1},   {L"+7", true, 7},
        {L"2147483648", true, INT_MIN},  {L"1,9", true, 1},   {L"1e3", true, 1},
        {L"4294967295", true, -1},       {L"0x1F", true, 0},  {L"", false, 0},
        {L"4294967296", true, 0},        {nullptr, false, 0}, {L" ", false, 0},
        {L"-2147483649", true, INT_MAX}, {L"abc", false, 0},  {L"-", false, 0},
        {L"\x0663", false, 0},           {L"- 1", false, 0},  {L".5", false, 0},
        {L"\xFF15", false, 0},           {L"+-1", false, 0},
    };
    CheckScan(rows, StringToInt);
}

TEST_P(NumberText, OtherIntegersFromTextWrapToTheirWidth)
{
    // 32 bits with their sign, however wide long is.
    const Scanned<long> longs[] = {
        {L"2147483647", true, 2147483647}, {L"4294967295", true, -1}, {nullptr, false, 0},
        {L"-2147483648", true, INT_MIN},   {L"4294967338", true, 42}, {L"x", false, 0},
        {L"2147483648", true, INT_MIN},
    };
    CheckScan(longs, StringToLong);
    const Scanned<unsigned> unsigneds[] = {
        {L"4294967295", true, UINT_MAX},
        {L"4294967296", true, 0},
        {L"-1", true, UINT_MAX},
        {nullptr, false, 0},
        {L"x", false, 0},
    };
    CheckScan(unsigneds, StringToUint);
    const Scanned<long long> int64s[] = {
        {L"9223372036854775807", true, LLONG_MAX},
        {L"-9223372036854775808", true, LLONG_MIN},
        {L"9223372036854775808", true, LLONG_MIN},
        {L"18446744073709551617", true, 1},
        {L" -4294967296x", true, -4294967296},
        {nullptr, false, 0},
        {L"x", false, 0},
    };
    CheckScan(int64s, StringToInt64);
    const Scanned<short> shorts[] = {
        {L"32767", true, 32767}, {L"-32768", true, -32768}, {L"32768", true, -32768},
        {L"65537", true, 1},     {L"-32769", true, 32767},  {L" 42x", true, 42},
        {nullptr, false, 0},     {L"x", false, 0},
    };
    CheckScan(shorts, StringToShort);
}

TEST_P(NumberText, DoublesFromText)
{
    // The first comma is the point, whatever follows.
    const Scanned<double> rows[] = {
        {L"3e-324", true, kSmallest},  {L"0.1", true, 0.1},   {L"5.", true, 5},
        {L" \t1e3x", true, 1000},      {L"-.5", true, -0.5},  {L"", false, 0},
        {L"1E-3", true, 0.001},        {L"1e-400", true, 0},  {L" ", false, 0},
        {L"1e300", true, 1e300},       {L"0x10", true, 0},    {L",", false, 0},
        {L"1e400", true, kInfinity},   {L"1,5", true, 1.5},   {L"abc", false, 0},
        {L"-1e400", true, -kInfinity}, {L"1.5,2", true, 1.5}, {L",5", true, 0.5},
        {L"1,5,2", true, 1.5},         {L"1,5.2", true, 1.5}, {L"inf", false, 0},
        {L"1,000,000", true, 1},       {nullptr, false, 0},   {L"nan", false, 0},
    };
    CheckScan(rows, StringToDouble);

    double zero = 1;
    EXPECT_TRUE(StringToDouble(L"-0,0", zero));
    EXPECT_TRUE(zero == 0 && std::signbit(zero));
    EXPECT_FALSE(StringToDouble(L"-", zero));
    EXPECT_FALSE(std::signbit(zero));
}

// ---- Without a locale's doing --------------------------------------------------------------

class Formats : public StringStatesTest {};

TEST_F(Formats, CommasBecomePoints)
{
    const Wide text(L",1,5,"), without(L"1.5");
    EXPECT_EQ(Look(ReplaceCommasWithDecPt(text)), ".1.5./5 x1");
    EXPECT_EQ(Look(text), ",1,5,/5 x1");
    EXPECT_EQ(ReplaceCommasWithDecPt(without).GetString(), without.GetString()) << "not shared";
    EXPECT_TRUE(IsNil(ReplaceCommasWithDecPt(Wide())));
}

// To negative values too; product and sum are each rounded to a double before the sum is cut, and
// each half of the result stays within 32 bits.
TEST_F(Formats, RoundingShiftsAddsAHalfAndCuts)
{
    const struct {
        double value;
        int decimals;
        double result;
    } rows[] = {
        {0.49999999999999994, 0, 1},     {-1.25, 1, -1.2},        {1.25, 1, 1.3},  {2.5, 0, 3},
        {2147483647.5, 0, 2147483648.0}, {-1.26, 1, -1.2},        {1.24, 1, 1.2},  {-0.0, 2, 0},
        {1e10, 0, 4294967294.0},         {-1.36, 1, -1.3},        {1.25, -3, 1},   {-0.7, 0, 0},
        {-1e10, 0, -4294967296.0},       {-1.45, 1, -1.4},        {1.996, 2, 2},   {kNan, 0, 0},
        {kInfinity, 0, 4294967294.0},    {1.5, INT_MAX, 1},       {-2.5, 0, -2},   {kNan, 3, 0},
        {-kInfinity, 0, -4294967296.0},  {2, INT_MAX, 2},         {3e9, 0, 3e9},   {0.2, 9, 0.2},
        {0.5, 10, 0.2147483647},         {1 + kSmallest, 400, 1}, {7, INT_MIN, 7},
    };
    for (const auto& row : rows) {
        const double result = FormatFloat(row.value, row.decimals);
        EXPECT_EQ(result, row.result) << row.value << " to " << row.decimals;
        EXPECT_FALSE(result == 0 && std::signbit(result)) << row.value;
    }
}

TEST_F(Formats, NarrowTextIsWidenedByTheCodePage)
{
    Wide text(L"old"), shared(text);
    ASCII2String("a\xE9\x80", text);
    EXPECT_EQ(Units(text), u"a\u00E9\u20AC");
    EXPECT_EQ(Look(shared), "old/3 x1");
    ASCII2String(nullptr, shared);
    EXPECT_EQ(Look(shared), "old/3 x1");
    ASCII2String("", shared);
    EXPECT_EQ(Look(shared), "/3 x1");
}

TEST_F(Formats, WideTextIsNarrowedToItsLowBytes)
{
    const struct {
        const wchar_t* source;
        int sourceLength, targetLength;
        // Of the eight bytes, all '#' before; the target begins at the second.
        std::string_view bytes;
    } rows[] = {
        {L"\x20AC\xE9", 2, 6, "#\xAC\xE9\0####"sv}, {L"abcdef", 0, 6, "#\0######"sv},
        {L"abcdef", 3, 10, "#abc\0###"sv},          {L"abcdef", 6, 0, "#\0######"sv},
        {L"abcdef", 6, 2, "#ab\0####"sv},           {L"a\0b", 3, 6, "#a\0b\0###"sv},
        {L"abcdef", 6, 6, "#abcdef\0"sv},           {L"abc", -1, 6, "#\0######"sv},
        {L"abc", INT_MIN, 6, "#\0######"sv},        {L"abc", 3, -1, "########"sv},
        {L"abc", -1, INT_MIN, "########"sv},        {nullptr, 3, 6, "#\0######"sv},
    };
    for (const auto& row : rows) {
        std::string bytes(8, '#');
        String2ASCII(row.source, row.sourceLength, bytes.data() + 1, row.targetLength);
        EXPECT_EQ(bytes, row.bytes) << row.sourceLength << " into " << row.targetLength;
    }
    String2ASCII(L"abc", 3, nullptr, 3);
}

} // namespace
