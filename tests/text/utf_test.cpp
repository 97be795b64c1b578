#include "xelutils/text/xel_utf.h"

#include "text/string_states.h"

using namespace string_tests;

namespace {

class Utf : public StringStatesTest {};

TEST_F(Utf, WellFormedTextGoesBothWays)
{
    const struct {
        std::string_view utf8;
        std::u16string_view utf16;
    } rows[] = {
        {"", u""},
        {"a\0\x7F"sv, u"a\0\x7F"sv},
        {"\xC2\x80\xDF\xBF", u"\x80\x7FF"},
        {"\xE0\xA0\x80\xED\x9F\xBF", u"\x800\xD7FF"},
        {"\xEE\x80\x80\xEF\xBF\xBF", u"\xE000\xFFFF"},
        {"\xEF\xBB\xBF"
         "a",
         u"\xFEFF"
         u"a"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\xD800\xDC00\xDBFF\xDFFF"},
        {"\xF0\x9F\x98\x80x", u"\xD83D\xDE00x"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.utf8));
        bool wellFormed = false;
        const Wide text = xel_text::FromUtf8(row.utf8, &wellFormed);
        EXPECT_TRUE(wellFormed);
        EXPECT_EQ(Units(text), row.utf16);
        EXPECT_EQ(text.GetString()[text.GetLength()], 0);
        EXPECT_EQ(xel_text::ToUtf8(text), row.utf8);
    }
    EXPECT_TRUE(IsNil(xel_text::FromUtf8("")));
}

TEST_F(Utf, EachMaximalIllFormedPieceBecomesOneReplacement)
{
    const struct {
        std::string_view utf8;
        std::u16string_view utf16;
    } rows[] = {
        {"\x80", u"\xFFFD"},
        {"\xBF"
         "a",
         u"\xFFFD"
         u"a"},
        {"\xC0\xAF", u"\xFFFD\xFFFD"},
        {"\xC1\xBF", u"\xFFFD\xFFFD"},
        {"\xC2", u"\xFFFD"},
        {"\xC2"
         "A",
         u"\xFFFD"
         u"A"},
        {"\xE0\x80\xAF", u"\xFFFD\xFFFD\xFFFD"},
        {"\xE0\x9F\xBF", u"\xFFFD\xFFFD\xFFFD"},
        {"\xE2\x82", u"\xFFFD"},
        {"\xE2\x82\xE2\x82\xAC", u"\xFFFD\x20AC"},
        {"\xE2\x28\xA1", u"\xFFFD(\xFFFD"},
        {"\xED\xA0\x80", u"\xFFFD\xFFFD\xFFFD"},
        {"\xF0\x8F\xBF\xBF", u"\xFFFD\xFFFD\xFFFD\xFFFD"},
        {"\xF0\x9F\x98", u"\xFFFD"},
        {"\xF0\x9F\x98\0"sv, u"\xFFFD\0"sv},
        {"\xF1\x80\x80\xE1\x80\xC2"
         "b",
         u"\xFFFD\xFFFD\xFFFD"
         u"b"},
        {"\xF4\x90\x80\x80", u"\xFFFD\xFFFD\xFFFD\xFFFD"},
        {"\xF5\xFF\xFE", u"\xFFFD\xFFFD\xFFFD"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.utf8));
        // A copy of exactly this size lets a sanitizer see reads beyond it.
        const std::vector<char> bytes(row.utf8.begin(), row.utf8.end());
        bool wellFormed = true;
        EXPECT_EQ(Units(xel_text::FromUtf8({bytes.data(), bytes.size()}, &wellFormed)), row.utf16);
        EXPECT_FALSE(wellFormed);
        EXPECT_EQ(Units(xel_text::FromUtf8(row.utf8)), row.utf16);
    }
}

TEST_F(Utf, SurrogatesWithoutPartner)
{
    const struct {
        std::u16string_view utf16;
        std::string_view utf8;
    } rows[] = {
        {u"\xD800", "\xEF\xBF\xBD"},
        {u"\xDFFF"
         u"a",
         "\xEF\xBF\xBD"
         "a"},
        {u"\xD83D"
         u"a",
         "\xEF\xBF\xBD"
         "a"},
        {u"\xDE00\xD83D", "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {u"\xD83D\xD83D\xDE00", "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
        {u"\xD83D\0\xDE00"sv, "\xEF\xBF\xBD\0\xEF\xBF\xBD"sv},
    };
    for (const auto& row : rows) {
        const Wide text = xel_text::FromUtf16(row.utf16);
        EXPECT_EQ(xel_text::ToUtf8(text), row.utf8);
        EXPECT_EQ(xel_text::ToUtf16(text), row.utf16);
        EXPECT_TRUE(static_cast<const void*>(xel_text::ToUtf16(text).data()) == text.GetString());
    }
    EXPECT_TRUE(IsNil(xel_text::FromUtf16(u"")));
}

} // namespace
