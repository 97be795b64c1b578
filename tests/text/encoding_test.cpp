#include <gtest/gtest.h>

#include <string_view>
#include <vector>

#include "xelutils/text/xel_text_utils.h"

using namespace std::string_view_literals;
using namespace xel_text_traits::xel_text_utils;

namespace {

constexpr std::uint32_t kKept = 77;
constexpr auto kUnknown = TEXT_ENCODING_UNKNOWN, k8Bit = TEXT_ENCODING_8BIT;
constexpr auto k16Bit = TEXT_ENCODING_UTF16LE;

// The mark of UTF-32LE goes before that of UTF-16LE; the mark of UTF-7 counts three bytes though a
// fourth is looked at. Without a mark nine bytes are wanted, of which the first eight count.
TEST(DetectEncoding, MarksAndTheLookAtTheFirstBytes)
{
    const struct {
        std::string_view bytes;
        EXelTextByteOrderMaskEncoding mark;
        std::uint32_t markLength;
        EXelTextEncoding encoding;
    } rows[] = {
        {"\xEF\xBB\xBF", BOM_UTF8, 3, kUnknown},           {"\xEF\xBB", BOM_NONE, kKept, k8Bit},
        {"\xFF\xFE\0"sv, BOM_UTF16_LE, 2, k16Bit},         {"\xFE\xFF", BOM_UTF16_BE, 2, kUnknown},
        {"\xFF\xFE\0\0"sv, BOM_UTF32_LE, 4, kUnknown},     {"\xFF\xFE", BOM_UTF16_LE, 2, k16Bit},
        {"\0\0\xFE\xFF"sv, BOM_UTF32_BE, 4, kUnknown},     {"\0\0\xFE"sv, BOM_NONE, kKept, k8Bit},
        {"\xDD\x73\x66\x73", BOM_UTF_EBCDIC, 4, kUnknown}, {"\x0E\xFE\xFF", BOM_SCSU, 3, kUnknown},
        {"\xDD\x73\x66", BOM_NONE, kKept, k8Bit},          {"\x0E\xFE", BOM_NONE, kKept, k8Bit},
        {"\xFB\xEE\x28", BOM_BOCU1, 3, kUnknown},          {"+/v8", BOM_UTF7, 3, kUnknown},
        {"A\0B\0C\0D\0"sv, BOM_NONE, kKept, k8Bit},        {"+/v+", BOM_UTF7, 3, kUnknown},
        {"A\0B\0C\0D\0E"sv, BOM_NONE, kKept, k16Bit},      {"+/v/", BOM_UTF7, 3, kUnknown},
        {"\0\0\0\0\0\0D\0\0"sv, BOM_NONE, kKept, k16Bit},  {"+/vA", BOM_NONE, kKept, k8Bit},
        {"AaB\0C\0D\0E"sv, BOM_NONE, kKept, k8Bit},        {"+/v", BOM_NONE, kKept, k8Bit},
        {"A\0B\0C\0D\1E"sv, BOM_NONE, kKept, k8Bit},       {"", BOM_NONE, kKept, kUnknown},
        {"A\0B\0C\0D\0Ee"sv, BOM_NONE, kKept, k16Bit},     {"a", BOM_NONE, kKept, kUnknown},
        {"\0\0\0\0\0\0\0\0\0"sv, BOM_NONE, kKept, k8Bit},  {"a\xFF\xFE", BOM_NONE, kKept, k8Bit},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        // A copy of exactly this size lets a sanitizer see reads beyond it.
        const std::vector<unsigned char> bytes(row.bytes.begin(), row.bytes.end());
        const auto size = static_cast<std::uint32_t>(bytes.size());
        std::uint32_t markLength = kKept, encodingMarkLength = kKept;
        EXPECT_EQ(detect_bom_header(bytes.data(), size, &markLength), row.mark);
        EXPECT_EQ(markLength, row.markLength);
        EXPECT_EQ(detect_text_encoding(bytes.data(), size, &encodingMarkLength), row.encoding);
        EXPECT_EQ(encodingMarkLength, row.markLength);
        EXPECT_EQ(detect_bom_header(bytes.data(), size), row.mark);
        EXPECT_EQ(detect_text_encoding(bytes.data(), size), row.encoding);
    }
}

TEST(DetectEncoding, NullBufferIsNoText)
{
    std::uint32_t markLength = kKept;
    EXPECT_EQ(detect_bom_header(nullptr, 9, &markLength), BOM_NONE);
    EXPECT_EQ(detect_text_encoding(nullptr, 9, &markLength), TEXT_ENCODING_UNKNOWN);
    EXPECT_EQ(markLength, kKept);
}

} // namespace
