#include "xelutils/platform/oleaut.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using namespace std::string_literals;

std::u16string Text(BSTR string)
{
    return {string, string + SysStringLen(string)};
}

std::uint32_t WordInFront(BSTR string)
{
    std::uint32_t word;
    std::memcpy(&word, reinterpret_cast<const char*>(string) - sizeof word, sizeof word);
    return word;
}

} // namespace

TEST(SystemStrings, HoldLengthTextAndTerminator)
{
    for (const std::u16string& text : {u""s, u"a"s, u"a\0b"s, std::u16string(70000, u'x')}) {
        const auto length = static_cast<UINT>(text.size());
        const auto* const units = reinterpret_cast<const wchar_t*>(text.data());
        const BSTR string = SysAllocStringLen(units, length);
        EXPECT_EQ(Text(string), text);
        EXPECT_EQ(WordInFront(string), length * 2);
        EXPECT_EQ(string[length], 0);
        SysFreeString(string);
    }
}

TEST(SystemStrings, WithoutTextThereIsRoom)
{
    const BSTR string = SysAllocStringLen(nullptr, 3);
    EXPECT_EQ(SysStringLen(string), 3u);
    EXPECT_EQ(string[3], 0);
    SysFreeString(string);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    SysFreeString(nullptr);
}

TEST(SystemStrings, LengthInBytesHas31Bits)
{
    BSTR string = SysAllocStringLen(L"kept", 4);
    const BSTR before = string;
    for (const UINT length : {0x40000000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(SysAllocStringLen(nullptr, length), nullptr);
        EXPECT_EQ(SysReAllocStringLen(&string, L"x", length), FALSE);
        EXPECT_EQ(SysReAllocStringLen(&string, nullptr, length), FALSE);
        EXPECT_EQ(string, before);
        EXPECT_EQ(Text(string), u"kept");
    }
    SysFreeString(string);
}

TEST(SystemStrings, Reallocate)
{
    BSTR string = nullptr;
    EXPECT_EQ(SysReAllocStringLen(&string, L"a longer\0text", 13), TRUE);
    EXPECT_EQ(Text(string), u"a longer\0text"s);
    EXPECT_EQ(string[13], 0);

    // The text lies in the old string.
    EXPECT_EQ(SysReAllocStringLen(&string, string + 2, 6), TRUE);
    EXPECT_EQ(Text(string), u"longer");
    // Without a text the old characters stay as far as they fit.
    EXPECT_EQ(SysReAllocStringLen(&string, nullptr, 4), TRUE);
    EXPECT_EQ(Text(string), u"long");
    EXPECT_EQ(string[4], 0);
    EXPECT_EQ(SysReAllocStringLen(&string, nullptr, 1000), TRUE);
    EXPECT_EQ(Text(string).substr(0, 4), u"long");
    EXPECT_EQ(SysStringLen(string), 1000u);
    EXPECT_EQ(string[1000], 0);

    SysFreeString(string);
    EXPECT_EQ(SysReAllocStringLen(nullptr, L"x", 1), FALSE);
}
