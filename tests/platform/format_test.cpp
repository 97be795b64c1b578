#include <climits>
#include <cstdint>
#include <iterator>

#include "platform/format_rows.h"
#include "support/target.h"

using namespace format_rows;
using namespace std::string_view_literals;

namespace {

const void* const kNull = nullptr;
constexpr std::size_t kPointerDigits = sizeof(void*) * 2;
// Each size reads another number out of it.
constexpr long long kWord = static_cast<long long>(0x87654321FEDCBA98);
constexpr int kLowWord = static_cast<int>(0xFEDCBA98);

// A long has 32 bits on every target.
TEST(Format, ExtremesOfEveryInteger)
{
    CheckAll{
        {"%d", "0", 0},       {"%u", "4294967295", -1}, {"%x", "ffffffff", -1},
        {"%hu", "65535", -1}, {"%ho", "177777", -1},    {"%hX", "BA98", kLowWord},
    };
    CheckAll{
        {"%d", "-2147483648", INT_MIN},   {"%i", "2147483647", INT_MAX},
        {"%o", "37777777777", -1},        {"%X", "89ABCDEF", 0x89ABCDEF},
        {"%hd", "-32768", 0x18000},       {"%hi", "32767", 0xF7FFF},
        {"%hx", "8000", 0x18000},         {"%ld", "-19088744", kLowWord},
        {"%lu", "4275878552", kLowWord},  {"%lx", "fedcba98", kLowWord},
        {"%I32d", "-19088744", kLowWord}, {"%I32X", "FEDCBA98", kLowWord},
        {"%wd", "-19088744", kLowWord},   {"%Lx", "fedcba98", kLowWord},
    };
    CheckAll{
        {"%lld", "-9223372036854775808", INT64_MIN}, {"%I64d", "-9223372036854775808", INT64_MIN},
        {"%I64i", "9223372036854775807", INT64_MAX}, {"%I64u", "18446744073709551615", -1LL},
        {"%llu", "9756277981056907928", kWord},      {"%I64o", "1777777777777777777777", -1LL},
        {"%I64x", "87654321fedcba98", kWord},        {"%llX", "87654321FEDCBA98", kWord},
    };
}

// Unsigned ones have no sign; a precision puts the flag 0 out of force, a negative one is none.
TEST(Format, FlagsWidthAndPrecisionOfIntegers)
{
    CheckAll{
        {"%1d", "-42", -42},   {"%+d", "+42", 42},  {"%+d", "-42", -42},  {"% d", " 42", 42},
        {"% d", "-42", -42},   {"%+ d", "+42", 42}, {"% +d", "+42", 42},  {"%  ++d", "+42", 42},
        {"%+u", "5", 5},       {"% x", "5", 5},     {"%+o", "5", 5},      {"%.1d", "42", 42},
        {"%.0d|", "|", 0},     {"%.d|", "|", 0},    {"%+.0d|", "+|", 0},  {"%.0x|", "|", 0},
        {"%#.0x|", "|", 0},    {"%#x", "0x2a", 42}, {"%#X", "0X2A", 42},  {"%#x", "0", 0},
        {"%#o", "052", 42},    {"%#o", "0", 0},     {"%#.2o", "052", 42}, {"%#.3o", "052", 42},
        {"%#.4o", "0052", 42}, {"%#d", "42", 42},   {"%.*d|", "|", 0, 0}, {"%.*d", "0", -1, 0},
    };
    CheckAll{
        {"%8d", "     -42", -42},    {"%-8d|", "-42     |", -42},  {"%08d", "-0000042", -42},
        {"%-08d|", "42      |", 42}, {"%0-5d|", "42   |", 42},     {"%+08d", "+0000042", 42},
        {"% -8d|", " 42     |", 42}, {"%.5d", "-00042", -42},      {"%.05d", "00042", 42},
        {"%8.5d", "   00042", 42},   {"%-8.5d|", "00042   |", 42}, {"%+8.5d", "  +00042", 42},
        {"%5.0d|", "     |", 0},     {"%.0I64u|", "|", 0LL},       {"%#08x", "0x00002a", 42},
        {"%#8x", "    0x2a", 42},    {"%#-8x|", "0x2a    |", 42},  {"%#8.4x", "  0x002a", 42},
        {"%*d", "    42", 6, 42},    {"%*d|", "42    |", -6, 42},  {"%-*d|", "42    |", -6, 42},
        {"%0*d", "000042", 6, 42},   {"%0*d|", "42    |", -6, 42}, {"%.*d", "0042", 4, 42},
    };
    // Wine keeps the flag.
    CheckAll{
        {"%08.3d", OnHost("     042", "00000042"), 42},
        {"%08.0d", OnHost("      42", "00000042"), 42},
        {"%08.3x", OnHost("     02a", "0000002a"), 42},
    };
}

// A zero is a character like others.
TEST(Format, TextsAndCharacters)
{
    CheckAll{
        {"%s", "abc", Own("abc")},     {"%s|", "|", Own("")},       {"%2s", "abc", Own("abc")},
        {"%.2s", "ab", Own("abc")},    {"%.9s", "abc", Own("abc")}, {"%.0s|", "|", Own("abc")},
        {"%.s|", "|", Own("abc")},     {"%S|", "|", Other("")},     {"%.0S|", "|", Other("a")},
        {"%hs", "a\xE9", "a\xE9"},     {"%hS", "a\xE9", "a\xE9"},   {"%ls", "a\xE9", L"a\xE9"},
        {"%lS", "a\xE9", L"a\xE9"},    {"%ws", "a\xE9", L"a\xE9"},  {"%c", "\xE9", 0xE9},
        {"%C", "\xE9", 0xE9},          {"%hc", "\xE9", 0xE9},       {"%lc", "\xE9", 0xE9},
        {"%-5c|", "A    |", 'A'},      {"a%cb", "a\0b"sv, 0},       {"a%Cb", "a\0b"sv, 0},
        {"%3c|", "  \0|"sv, 0},        {"%s", "(null)", kNull},     {"%S", "(null)", kNull},
        {"%hs", "(null)", kNull},      {"%ls", "(null)", kNull},    {"%.3s", "(nu", kNull},
        {"%.3S", "(nu", kNull},        {"%.9s", "(null)", kNull},   {"%.0s|", "|", kNull},
        {"%10s", "    (null)", kNull}, {"%%d%%%%", "%d%%"},         {"a%%%d%%b", "a%5%b", 5},
    };
    // Wine counts none where the character alone does not fit.
    if (!kOnWindows)
        CheckAll{{"%5c", "    A", 'A'}, {"%05c", "0000A", 'A'}, {"%5C", "    A", 'A'}};
    CheckAll{
        {"%8s", "     abc", Own("abc")},    {"%S", "a\xE9", Other("a\xE9")},
        {"%s", "a\xE9", Own("a\xE9\0z"sv)}, {"%-8s|", "abc     |", Own("abc")},
        {"%08s", "00000abc", Own("abc")},   {"%8.2s", "      ab", Own("abc")},
    };
    CheckAll{
        {"%*.*s", "   a", 4, 1, Own("ab")},         {"%*.*s|", "ab  |", -4, -1, Own("ab")},
        {"%.2S", "a\xE9", Other("a\xE9z")},         {"%8.2S", "      a\xE9", Other("a\xE9z")},
        {"%-8S|", "a\xE9z     |", Other("a\xE9z")}, {"\x01\x80\xE9\xFF", "\x01\x80\xE9\xFF"},
    };
    CheckAll{
        {"%c", "A", 'A'},  {"%hC", "A", 'A'}, {"%lC", "A", 'A'},
        {"%wc", "A", 'A'}, {"", ""},          {"%%", "%"},
    };
}

// What is given to a "*" is used up all the same.
TEST(Format, WhatIsNoConversionIsText)
{
    CheckAll{
        {"%y[%d]", "y[1]", 1},       {"%![%d]", "![1]", 1},  {"%\xE9[%d]", "\xE9[1]", 1},
        {"%5.2y|%d", "y|1", 1},      {"%-5y|%d", "y|1", 1},  {"%I64y%d", "y1", 1},
        {"%I3|%d", "I3|1", 1},       {"%I6d%d", "I6d1", 1},  {"%1$d%d", "$d1", 1},
        {"%5-d%d", "-d1", 1},        {"%.+5d%d", "+5d1", 1}, {"%5.3.2d%d", ".2d1", 1},
        {"%*y%d", "y2", 1, 2},       {"%.*y%d", "y2", 1, 2}, {"%*.*y%d", "y3", 1, 2, 3},
        {"%hhd", "-32768", 0x18000},
    };
    CheckAll{
        {"% [%d]", "[1]", 1}, {"%ly%d", "y1", 1},  {"%hy%d", "y1", 1},  {"%wy%d", "y1", 1},
        {"%I|%d", "I|1", 1},  {"%qd%d", "qd1", 1}, {"%'d%d", "'d1", 1}, {"abc%", "abc"},
        {"%%%", "%"},         {"abc%5", "abc"},    {"%-", ""},          {"%.", ""},
        {"%5.2", ""},         {"%l", ""},          {"%h", ""},          {"%w", ""},
        {"%I", "I"},          {"%I6", "I6"},       {"%I64", ""},        {"%*", "", 1},
        {"%*.*", "", 1, 2},
    };
    CheckAll{{"%l%|%d", OnHost("%|1", "|1"), 1}, {"%5%|", OnHost("%|", "|")}};
    // Arguments that others take them for are not there.
    if (!kOnWindows)
        CheckAll{{"%Is%d", "Is1", 1}, {"%If%d", "If1", 1}, {"%5%d%d", "%d1", 1}};
}

TEST(Format, LongTextsAndSizesOfPointers)
{
    CheckAll{
        {"%hd %I64d %d %lld %s %g %u", "1 2 3 4 five 6.5 7", 1, 2LL, 3, 4LL, Own("five"), 6.5, 7},
        {"%Id|%d", "-1|7", std::intptr_t{-1}, 7},
        {"%Ix|%d", std::string(kPointerDigits, 'f') + "|7", ~std::uintptr_t{}, 7},
        {"%p", std::string(kPointerDigits - 4, '0') + "1A2B", reinterpret_cast<void*>(0x1A2B)},
        {"%p", std::string(kPointerDigits, '0'), kNull},
        {"%20p|", std::string(20 - kPointerDigits, ' ') + std::string(kPointerDigits, '0') + "|",
         kNull},
        {"%-20p|", std::string(kPointerDigits, '0') + std::string(20 - kPointerDigits, ' ') + "|",
         kNull},
        {"%600d", std::string(599, ' ') + "5", 5},
        {"%-600d", "5" + std::string(599, ' '), 5},
        {"%0600d", std::string(599, '0') + "5", 5},
        {"%I32s|%I64s|%lls", "ab|cd|ef", Own("ab"), Own("cd"), Own("ef")},
        {"%5.1hs|%-5.1ls|", "    a|a    |", "abc", L"abc"},
        {"%s", std::string(3000, 'x'), Own(std::string(3000, 'x'))},
        {"%S", std::string(3000, 'x'), Other(std::string(3000, 'x'))},
        {"%#I64x", "0x8000000000000000", INT64_MIN},
        {"%020I64d", "-0000000000000000005", -5LL},
        {"%0*.*d", "00000042", 8, -4, 42},
        {"%-3lc|", "\0  |"sv, 0},
        {"%c%c%s", "\0\0z"sv, 0, 0, Own("z")},
        {"%-10S|", "(null)    |", kNull},
        {"%10.3s", "       (nu", kNull},
        {"%b%B%k%m%r%v%D%U%O%P%d", "bBkmrvDUOP1", 1},
    };
    // The wide one of Wine stores behind its own block.
    if (!kOnWindows)
        CheckAll{{"%.600I64x", std::string(599, '0') + "5", 5LL}};
}

TEST(Format, NothingIsStoredThroughAnArgument)
{
    long long stored = kWord;
    CheckAll{
        {"abc%n|%d", "abc", &stored, 5}, {"%d%hn|", "5", 5, &stored}, {"a%lnb", "a", &stored},
        {"a%llnb", "a", &stored},        {"a%I64nb", "a", &stored},   {"%5n", "", &stored},
    };
    EXPECT_EQ(stored, kWord);
}

TEST(Format, OtherWidthGoesThroughTheCodePage)
{
    const struct {
        const char* format;
        const wchar_t* argument;
        std::string_view text;
    } narrow[] = {
        {"%S|", L"\x20ACuro", "\x80uro|"},
        {"%ls|", L"a\x416z", "a?z|"},
        {"%ws|", L"\x178", "\x9F|"},
        {"%.1S|", L"\x20ACuro", "\x80|"},
        {"%6.2S|", L"\x20ACuro", "    \x80u|"},
    };
    for (const auto& row : narrow) {
        char buffer[16] = {};
        EXPECT_EQ(Print(buffer, std::size(buffer), row.format, row.argument),
                  static_cast<int>(row.text.size()))
            << row.format;
        EXPECT_EQ(buffer, row.text);
    }
    const struct {
        const wchar_t* format;
        const char* argument;
        std::u16string_view text;
    } wide[] = {
        {L"%S|", "\x80uro", u"\u20ACuro|"},
        {L"%hs|", "\x9F\x81", u"\u0178\u0081|"},
        {L"%hS|", "\x80", u"\u20AC|"},
        {L"%.1S|", "\x80uro", u"\u20AC|"},
        {L"%6.2hs|", "\x80uro", u"    \u20ACu|"},
    };
    for (const auto& row : wide) {
        wchar_t buffer[16] = {};
        EXPECT_EQ(Print(buffer, std::size(buffer), row.format, row.argument),
                  static_cast<int>(row.text.size()))
            << row.argument;
        EXPECT_EQ(Shown(buffer, row.text.size()), row.text) << row.argument;
    }
}

TEST(Format, CharactersOfTheOtherWidthGoThroughTheCodePage)
{
    const struct {
        const char* format;
        int character;
        char text;
    } narrow[] = {
        {"%c", 0x20AC, '\xAC'}, {"%hc", 0x20AC, '\xAC'}, {"%C", 0x20AC, '\x80'},
        {"%lc", 0x178, '\x9F'}, {"%wc", 0x416, '?'},     {"%C", 0x81, '\x81'},
    };
    for (const auto& row : narrow) {
        char buffer[4] = {};
        EXPECT_EQ(Print(buffer, std::size(buffer), row.format, row.character), 1);
        EXPECT_EQ(buffer[0], row.text) << row.format;
    }
    const struct {
        const wchar_t* format;
        int character;
        wchar_t text;
    } wide[] = {
        {L"%c", 0x20AC, 0x20AC},  {L"%lc", 0x20AC, 0x20AC}, {L"%C", 0x80, 0x20AC},
        {L"%hc", '\x80', 0x20AC}, {L"%hC", 0x9F, 0x178},    {L"%c", 0xDE01, 0xDE01},
    };
    for (const auto& row : wide) {
        wchar_t buffer[4] = {};
        EXPECT_EQ(Print(buffer, std::size(buffer), row.format, row.character), 1);
        EXPECT_EQ(buffer[0], row.text) << std::hex << row.character;
    }
}

// Its end need not be marked then.
TEST(Format, NothingIsReadBehindThePrecisionOfAText)
{
    const std::vector<char> narrow = {'a', 'b', 'c'};
    const std::vector<wchar_t> wide = {'a', 'b', 'c'};
    CheckAll{
        {"%.3hs|%5.2hs", "abc|   bc", narrow.data(), narrow.data() + 1},
        {"%.3ls|%5.2ls", "abc|   bc", wide.data(), wide.data() + 1},
        {"%.*ls", "c", 1, wide.data() + 2},
        {"%.0hs|%.0ls|", "||", narrow.data() + 3, wide.data() + 3},
    };
}

// Lengths that no int holds are only too long; the text is cut and counted without being made.
TEST(Format, HugeWidthsOnlyDoNotFit)
{
    constexpr std::size_t kCount = 4;
    const struct {
        const char* format;
        std::string_view text;
    } rows[] = {
        {"%2147483647d%d", "    "},
        {"%-2147483647d%d", "5   "},
        {"%02147483647d%d", "0000"},
        {"%.2147483647d%d", "0000"},
        {"%99999999999d%d", "    "},
        {"%2147483647c%d", "    "},
        {"-%.2147483647X%d", "-000"},
        {"%2147483640d%2147483640d", "    "},
        {"ab%.2147483647x%.2147483647x", "ab00"},
    };
    for (const auto& row : rows) {
        char buffer[kCount + 1] = "~~~~";
        EXPECT_EQ(Print(buffer, kCount, row.format, 5, 5), -1) << row.format;
        EXPECT_EQ(buffer, row.text) << row.format;
    }
    char buffer[kCount + 1] = "~~~~";
    EXPECT_EQ(Print(buffer, kCount, "%*d", INT_MIN, 5), -1);
    EXPECT_EQ(buffer, "5   "sv);
}

} // namespace
