#include "xelutils/text/xel_utf.h"

#include <algorithm>

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
        {"\xEF\xBB\xBF\x61", u"\xFEFF\x61"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\xD800\xDC00\xDBFF\xDFFF"},
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
        {"\xE2\x82\xC2\x80", u"?\x80"}, {"\xBF\x61", u"?\x61"},   {"\xC0\xAF", u"??"},
        {"\xF1\x80\x80\x62", u"?b"},    {"\xE0\x80\xAF", u"???"}, {"\x80", u"?"},
        {"\xF0\x8F\xBF\xBF", u"????"},  {"\xC2\x41", u"?\x41"},   {"\xC1\xBF", u"??"},
        {"\xF4\x90\x80\x80", u"????"},  {"\xE0\x9F\xBF", u"???"}, {"\xC2", u"?"},
        {"\xED\xA0\x80", u"???"},       {"\xF5\xFF\xFE", u"???"}, {"\xF0\x9F\x98", u"?"},
        {"\xF0\x9F\x98\0"sv, u"?\0"sv}, {"\xE2\x28\xA1", u"?(?"}, {"\xE2\x82", u"?"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.utf8));
        // A copy of exactly this size lets a sanitizer see reads beyond it.
        const std::vector<char> bytes(row.utf8.begin(), row.utf8.end());
        bool wellFormed = true;
        std::u16string units(Units(xel_text::FromUtf8({bytes.data(), bytes.size()}, &wellFormed)));
        std::ranges::replace(units, u'\xFFFD', u'?');
        EXPECT_EQ(units, row.utf16);
        EXPECT_FALSE(wellFormed);
    }
}

TEST_F(Utf, SurrogatesWithoutPartner)
{
    const struct {
        std::u16string_view utf16;
        std::string_view utf8;
    } rows[] = {
        {u"\xD800", "\xEF\xBF\xBD"},
        {u"\xDFFF\x61", "\xEF\xBF\xBD\x61"},
        {u"\xD83D\x61", "\xEF\xBF\xBD\x61"},
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
