#include <cstdlib>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "support/system_page.h"
#include "support/target.h"
#include "xelutils/platform/coredll.h"

namespace {

using namespace std::string_literals;
using Units = std::vector<unsigned>;

// In hexadecimal where a test prints it.
Units ToWide(UINT page, std::string_view bytes)
{
    wchar_t buffer[64];
    const int count = MultiByteToWideChar(page, 0, bytes.data(), static_cast<int>(bytes.size()),
                                          buffer, std::size(buffer));
    return Units(buffer, buffer + count);
}

std::string ToBytes(UINT page, const std::u16string& units)
{
    char buffer[64];
    const int count = WideCharToMultiByte(page, 0, reinterpret_cast<const wchar_t*>(units.data()),
                                          static_cast<int>(units.size()), buffer, std::size(buffer),
                                          nullptr, nullptr);
    return std::string(buffer, static_cast<std::size_t>(count));
}

// All of 1252 that is not the byte's own value.
constexpr char16_t kWesternOddities[] = u"\u20AC\u0081\u201A\u0192\u201E\u2026\u2020\u2021"
                                        u"\u02C6\u2030\u0160\u2039\u0152\u008D\u017D\u008F"
                                        u"\u0090\u2018\u2019\u201C\u201D\u2022\u2013\u2014"
                                        u"\u02DC\u2122\u0161\u203A\u0153\u009D\u017E\u0178";

} // namespace

TEST(CodePages, WesternIsDefaultAndKnowsAllBytesBothWays)
{
    // At every offset of a block, and with few and many odd bytes in one.
    for (int step = 1; step < 40; ++step) {
        std::string bytes;
        std::u16string units;
        for (int i = 0; i < 1024; ++i) {
            const int byte = i * step % 256;
            bytes.push_back(static_cast<char>(byte));
            units.push_back((byte & 0xE0) == 0x80 ? kWesternOddities[byte - 0x80]
                                                  : static_cast<char16_t>(byte));
        }
        std::u16string wide(1024, u'-');
        auto* const buffer = reinterpret_cast<wchar_t*>(wide.data());
        ASSERT_EQ(MultiByteToWideChar(CP_ACP, 0, bytes.data(), 1024, buffer, 1024), 1024);
        ASSERT_EQ(wide, units) << step;
        std::string back(1024, '-');
        BOOL usedDefault = TRUE;
        ASSERT_EQ(
            WideCharToMultiByte(CP_ACP, 0, buffer, 1024, back.data(), 1024, nullptr, &usedDefault),
            1024);
        ASSERT_EQ(back, bytes) << step;
        ASSERT_EQ(usedDefault, FALSE);
    }
}

TEST(CodePages, WhatAPageDoesNotHoldBecomesTheDefaultCharacter)
{
    // No best fit (fullwidth A, L with stroke) but on desktop Windows, and a pair of surrogates is
    // two units.
    EXPECT_EQ(ToBytes(CP_ACP, u"a\uFF21\u0141\xD83D\xDE00z"), OnHost("a????z", "aAL??z"));
    EXPECT_EQ(ToBytes(CP_ACP, u"0123456789\u010Cabcdefghi\u20AC"),
              OnHost("0123456789?abcdefghi\x80", "0123456789Cabcdefghi\x80"));
    const wchar_t* const text = L"\u4E2Dx";
    char buffer[4] = "---";
    BOOL usedDefault = FALSE;
    EXPECT_EQ(WideCharToMultiByte(1252, 0, text, -1, buffer, 3, "#", &usedDefault), 3);
    EXPECT_STREQ(buffer, "#x");
    EXPECT_EQ(usedDefault, TRUE);
    usedDefault = FALSE;
    EXPECT_EQ(WideCharToMultiByte(1252, 0, text, 2, nullptr, 0, nullptr, &usedDefault), 2);
    EXPECT_EQ(usedDefault, TRUE) << "also when only the size is asked for";
}

TEST(CodePages, TooSmallTargetHoldsWhatFits)
{
    SetLastError(0);
    std::u16string wide(20, u'-');
    auto* const units = reinterpret_cast<wchar_t*>(wide.data());
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "0123456789abcdefghij", -1, units, 18), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(wide, u"0123456789abcdefgh--");
    std::string bytes(20, '-');
    EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, L"0123456789abcdefghij", -1, bytes.data(), 17, nullptr,
                                  nullptr),
              0);
    EXPECT_EQ(bytes, "0123456789abcdefg---");

    // A character of two bytes is stored whole or not at all, and nothing stands after it.
    bytes.assign(5, '-');
    EXPECT_EQ(WideCharToMultiByte(932, 0, L"a\u3042z", 3, bytes.data(), 2, nullptr, nullptr), 0);
    EXPECT_EQ(bytes, "a----");
    EXPECT_EQ(WideCharToMultiByte(932, 0, L"a\u3042z", -1, nullptr, 0, nullptr, nullptr), 5);
    EXPECT_EQ(WideCharToMultiByte(932, 0, L"a\u3042z", 3, bytes.data(), 4, nullptr, nullptr), 4);
    EXPECT_EQ(bytes, "a\x82\xA0z-");
}

TEST(CodePages, RefusesWrongArguments)
{
    wchar_t wide[4];
    const struct {
        UINT page;
        DWORD flags;
        const char* source;
        int length, size;
        DWORD error;
    } rows[] = {
        // Desktop Windows knows UTF-8, and a flag that refuses what is ill-formed.
        {65001, 0, "a", 1, 4, OnHost<DWORD>(ERROR_INVALID_PARAMETER, ERROR_SUCCESS)},
        {CP_ACP, 8, "a", 1, 4, OnHost<DWORD>(ERROR_INVALID_FLAGS, ERROR_SUCCESS)},
        {CP_ACP, 0, nullptr, -1, 4, ERROR_INVALID_PARAMETER},
        {CP_ACP, 0, "a", 0, 4, ERROR_INVALID_PARAMETER},
        {CP_ACP, 0, "a", 1, -1, ERROR_INVALID_PARAMETER},
    };
    for (const auto& row : rows) {
        SetLastError(0);
        EXPECT_EQ(MultiByteToWideChar(row.page, row.flags, row.source, row.length, wide, row.size),
                  row.error == ERROR_SUCCESS ? 1 : 0);
        EXPECT_EQ(GetLastError(), row.error) << &row - rows;
    }
}

// Open bytes are control characters or private units. Of two codes the usual one comes back. Where
// there is no character, as for a first byte alone, the page has one of its own for it.
TEST(CodePages, OtherPages)
{
    const struct {
        UINT page;
        std::string bytes;
        Units units;
        std::string back;
    } rows[] = {
        {1251, "\xCF\xF0\xB8", {0x41F, 0x440, 0x451}, "\xCF\xF0\xB8"},
        {1250, "\x81", {0x81}, "\x81"},
        {1253, "\xAA\xD2\xFF", {0xF8F9, 0xF8FA, 0xF8FB}, "\xAA\xD2\xFF"},
        {1255, "\xF9\xC7", {0x5E9, 0x5B7}, "\xF9\xC7"},
        {932, "a\x82\xA0\xB1\x95\x5C", {0x61, 0x3042, 0xFF71, 0x8868}, "a\x82\xA0\xB1\x95\x5C"},
        {932, "\xED\x40", {0x7E8A}, "\xFA\x5C"},
        {932, "\x85\x45x\x82", {0x30FB, 0x78, 0x30FB}, "\x81\x45x\x81\x45"},
        {936, "\xB0\0b"s, {0x3F, 0, 0x62}, "?\0b"s},
        {936, "\x80\xD6\xD0", {0x20AC, 0x4E2D}, "\x80\xD6\xD0"},
        {949, "\xB0\xA1", {0xAC00}, "\xB0\xA1"},
        {950, "\xA4\xA4\xA1\x45", {0x4E2D, 0x2027}, "\xA4\xA4\xA1\x45"},
    };
    for (const auto& row : rows) {
        const Units units = ToWide(row.page, row.bytes);
        EXPECT_EQ(units, row.units) << row.page;
        EXPECT_EQ(ToBytes(row.page, {units.begin(), units.end()}), row.back) << row.page;
    }
}

TEST(CodePages, EnvironmentNamesTheSystemPage)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const struct {
        const char* value;
        std::string byte;
        unsigned unit;
    } rows[] = {{"1251", "\xE6", 0x436},
                {"949", "\xB0\xA1", 0xAC00},
                {"1252x", "\xE6", 0xE6},
                {"437", "\xE6", 0xE6}};
    for (const auto& row : rows) {
        const auto check = [&row] {
            NameSystemPage(row.value);
            std::exit(ToWide(CP_ACP, row.byte) == Units{row.unit} ? 0 : 1);
        };
        EXPECT_EXIT(check(), testing::ExitedWithCode(0), "") << row.value;
    }
}
