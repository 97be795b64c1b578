#include <gtest/gtest.h>

#include <string_view>
#include <vector>

#include "xelutils/text/xel_text_utils.h"

using namespace std::string_view_literals;
using namespace xel_text_traits::xel_text_utils;

namespace {

constexpr std::uint32_t kUntouched = 77;

TEST(DetectEncoding, MarksAndTheLookAtTheFirstBytes)
{
    const struct {
        const char* what;
        std::string_view bytes;
        EXelTextByteOrderMaskEncoding mark;
        std::uint32_t markLength;
        EXelTextEncoding encoding;
    } rows[] = {
        {"UTF-8", "\xEF\xBB\xBF", BOM_UTF8, 3, TEXT_ENCODING_UNKNOWN},
        {"UTF-8, short", "\xEF\xBB", BOM_NONE, kUntouched, TEXT_ENCODING_8BIT},
        {"UTF-16BE", "\xFE\xFF", BOM_UTF16_BE, 2, TEXT_ENCODING_UNKNOWN},
        {"UTF-16LE", "\xFF\xFE", BOM_UTF16_LE, 2, TEXT_ENCODING_UTF16LE},
        {"UTF-32LE, short", "\xFF\xFE\0"sv, BOM_UTF16_LE, 2, TEXT_ENCODING_UTF16LE},
        {"UTF-32LE before UTF-16LE", "\xFF\xFE\0\0"sv, BOM_UTF32_LE, 4, TEXT_ENCODING_UNKNOWN},
        {"UTF-32BE", "\0\0\xFE\xFF"sv, BOM_UTF32_BE, 4, TEXT_ENCODING_UNKNOWN},
        {"UTF-32BE, short", "\0\0\xFE"sv, BOM_NONE, kUntouched, TEXT_ENCODING_8BIT},
        {"SCSU", "\x0E\xFE\xFF", BOM_SCSU, 3, TEXT_ENCODING_UNKNOWN},
        {"SCSU, short", "\x0E\xFE", BOM_NONE, kUntouched, TEXT_ENCODING_8BIT},
        {"UTF-7 with 8", "+/v8", BOM_UTF7, 3, TEXT_ENCODING_UNKNOWN},
        {"UTF-7 with +", "+/v+", BOM_UTF7, 3, TEXT_ENCODING_UNKNOWN},
        {"UTF-7 with /", "+/v/", BOM_UTF7, 3, TEXT_ENCODING_UNKNOWN},
        {"UTF-7 with A", "+/vA", BOM_NONE, kUntouched, TEXT_ENCODING_8BIT},
        {"UTF-7, short", "+/v", BOM_NONE, kUntouched, TEXT_ENCODING_8BIT},
        {"UTF-EBCDIC", "\xDD\x73\x66\x73", BOM_UTF_EBCDIC, 4, TEXT_ENCODING_UNKNOWN},
        {"UTF-EBCDIC, short", "\xDD\x73\x66", BOM_NONE, kUntouched, TEXT_ENCODING_8BIT},
        {"BOCU-1", "\xFB\xEE\x28", BOM_BOCU1, 3, TEXT_ENCODING_UNKNOWN},
        {"nothing", "", BOM_NONE, kUntouched, TEXT_ENCODING_UNKNOWN},
        {"one byte", "a", BOM_NONE, kUntouched, TEXT_ENCODING_UNKNOWN},
        {"eight bytes", "A\0B\0C\0D\0"sv, BOM_NONE, kUntouched, TEXT_ENCODING_8BIT},
        {"nine bytes", "A\0B\0C\0D\0E"sv, BOM_NONE, kUntouched, TEXT_ENCODING_UTF16LE},
        {"one low byte", "\0\0\0\0\0\0D\0\0"sv, BOM_NONE, kUntouched, TEXT_ENCODING_UTF16LE},
        {"first high byte", "AaB\0C\0D\0E"sv, BOM_NONE, kUntouched, TEXT_ENCODING_8BIT},
        {"last high byte", "A\0B\0C\0D\1E"sv, BOM_NONE, kUntouched, TEXT_ENCODING_8BIT},
        {"ninth and tenth do not count", "A\0B\0C\0D\0Ee"sv, BOM_NONE, kUntouched,
         TEXT_ENCODING_UTF16LE},
        {"all zero", "\0\0\0\0\0\0\0\0\0"sv, BOM_NONE, kUntouched, TEXT_ENCODING_8BIT},
        {"mark not in front", "a\xFF\xFE", BOM_NONE, kUntouched, TEXT_ENCODING_8BIT},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        // A copy of exactly this size lets a sanitizer see reads beyond it.
        const std::vector<unsigned char> bytes(row.bytes.begin(), row.bytes.end());
        const auto size = static_cast<std::uint32_t>(bytes.size());
        std::uint32_t markLength = kUntouched, encodingMarkLength = kUntouched;
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
    std::uint32_t markLength = kUntouched;
    EXPECT_EQ(detect_bom_header(nullptr, 9, &markLength), BOM_NONE);
    EXPECT_EQ(detect_text_encoding(nullptr, 9, &markLength), TEXT_ENCODING_UNKNOWN);
    EXPECT_EQ(markLength, kUntouched);
}

} // namespace
