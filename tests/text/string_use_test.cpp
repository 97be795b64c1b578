// Strings as applications use them: operators and overloads that only the compiler chooses.
#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include <gtest/gtest.h>

#include "xelutils/text/xel_utf.h"

using Wide = xel_text::CXelStringT<wchar_t>;
using Narrow = xel_text::CXelStringT<char>;

namespace {

static_assert(std::is_nothrow_move_constructible_v<Wide>);
static_assert(!std::is_constructible_v<bool, Wide>, "would always be true");

TEST(StringUse, OrderingsCompareTextsNotAddresses)
{
    std::vector<Wide> texts = {L"d", L"b", L"c", L"a"};
    std::ranges::sort(texts);
    EXPECT_EQ(texts, (std::vector<Wide>{L"a", L"b", L"c", L"d"}));
    EXPECT_EQ(*std::ranges::max_element(texts, std::less<>()), L"d");
    EXPECT_EQ((std::set<Wide, std::less<>>{L"k"}.count(Wide(L"k"))), 1u);
    EXPECT_EQ((std::unordered_map<Wide, int>{{L"k", 7}}.at(Wide(L"k"))), 7);
    EXPECT_EQ((std::map<Narrow, int>{{"k", 7}}.at("k")), 7);
}

TEST(StringUse, FrameworkStringsOnEitherSide)
{
    const CString framework(L"a"), same(L"a");
    Wide text(L"a");
    EXPECT_TRUE(text == framework && framework == text && framework == same);
    EXPECT_TRUE(framework == L"a" && L"b" != framework && text <= framework);
    text += framework;
    EXPECT_EQ(text, L"aa");
    Narrow narrow("x");
    narrow += framework;
    EXPECT_EQ(narrow, "xa");
}

TEST(StringUse, JoiningAndIndexing)
{
    const Wide text(L"ab");
    EXPECT_EQ(text + text + L"c" + L'd' + 'e', L"ababcde");
    EXPECT_EQ(L"x" + text, L"xab");
    EXPECT_EQ('x' + (L'y' + text), L"xyab");
    EXPECT_EQ(text + '\xE9', L"ab\xFFE9") << "as += does";
    EXPECT_EQ(Narrow("q") + L'\x20AC' + 'r', "q\xACr");
    EXPECT_EQ(text + 1, text.GetString() + 1) << "a place inside the text, as for any pointer";
    EXPECT_EQ(text + 0, text.GetString());

    const Wide longText(L'x', 300);
    EXPECT_EQ(longText[static_cast<unsigned char>(5)], L'x');
    EXPECT_EQ(longText[299L], L'x');
    EXPECT_EQ(longText[std::size_t{301}], 0);
    EXPECT_EQ(longText[-1L], 0);
    EXPECT_EQ(longText[~std::size_t{0}], 0);
}

TEST(StringUse, EmptyTextMovedInKeepsTheRoom)
{
    Wide text(L"abc");
    text = Wide(L"abcd").Mid(9);
    EXPECT_EQ(text.GetAllocLength(), 3);
}

// Long texts of few letters, so that there are many places that nearly fit.
TEST(StringUse, SearchInLongTextsAgreesWithTheStandard)
{
    const unsigned start = std::random_device{}();
    SCOPED_TRACE(testing::Message() << "random start value " << start);
    std::mt19937 random(start);
    const auto letters = [&random](std::size_t length, unsigned kinds) {
        std::u16string text;
        while (text.size() < length)
            text += static_cast<char16_t>(u'a' + random() % kinds);
        return text;
    };
    const auto index = [](std::size_t found) {
        return found == std::u16string::npos ? -1 : static_cast<int>(found);
    };
    for (int round = 0; round < 3000; ++round) {
        std::u16string text = letters(random() % 120, 2);
        const std::u16string wanted = letters(1 + random() % 9, round % 3 ? 2 : 3);
        if (round % 4 == 0 && !text.empty())
            text[random() % text.size()] = u'z';
        Wide wide = xel_text::FromUtf16(text);
        const Wide wantedWide = xel_text::FromUtf16(wanted);
        const int from = text.empty() ? 0 : static_cast<int>(random() % text.size());
        ASSERT_EQ(wide.Find(wantedWide, from), index(text.find(wanted, from)));
        ASSERT_EQ(wide.Find(L'z', from),
                  from < wide.GetLength() ? index(text.find(u'z', from)) : -1);

        int count = 0;
        for (std::size_t at = 0; (at = text.find(wanted, at)) != std::u16string::npos; ++count) {
            text.replace(at, wanted.size(), u"<>--");
            at += 4;
        }
        ASSERT_EQ(wide.Replace(wantedWide, L"<>--"), count);
        ASSERT_EQ(xel_text::ToUtf16(wide), text);
    }
}

TEST(StringUse, ManyPlacesAreReplaced)
{
    for (const int places : {63, 64, 65, 1000}) {
        Wide text;
        for (int i = 0; i < places; ++i)
            text += L"ab";
        EXPECT_EQ(text.Replace(L"b", L"cd"), places);
        EXPECT_EQ(text.GetLength(), 3 * places);
        EXPECT_EQ(text.Right(6), L"acdacd");
        EXPECT_EQ(text.Replace(L"cd", L""), places);
        EXPECT_EQ(text, Wide(L'a', places));
    }
}

} // namespace
