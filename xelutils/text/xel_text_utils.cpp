#include "xelutils/text/xel_text_utils.h"

#include <cstring>

namespace xel_text_traits::xel_text_utils {

namespace {

struct Mark {
    EXelTextByteOrderMaskEncoding encoding;
    std::uint32_t length;
    unsigned char bytes[4];
};

// Tried in this order: the four-byte mark of UTF-32LE begins with the whole mark of UTF-16LE.
constexpr Mark kMarks[] = {
    {BOM_UTF32_LE, 4, {0xFF, 0xFE, 0x00, 0x00}},
    {BOM_UTF16_LE, 2, {0xFF, 0xFE}},
    {BOM_UTF8, 3, {0xEF, 0xBB, 0xBF}},
    {BOM_UTF7, 3, {0x2B, 0x2F, 0x76}},
    {BOM_UTF16_BE, 2, {0xFE, 0xFF}},
    {BOM_UTF32_BE, 4, {0x00, 0x00, 0xFE, 0xFF}},
    {BOM_BOCU1, 3, {0xFB, 0xEE, 0x28}},
    {BOM_SCSU, 3, {0x0E, 0xFE, 0xFF}},
    {BOM_UTF_EBCDIC, 4, {0xDD, 0x73, 0x66, 0x73}},
};

// The fourth byte of UTF-7's mark is shared with the first character of the text; these are the
// values it can have. The reported length stays 3.
bool CompletesUtf7Mark(const unsigned char* buffer, std::uint32_t size)
{
    return size >= 4 &&
           (buffer[3] == '8' || buffer[3] == '9' || buffer[3] == '+' || buffer[3] == '/');
}

bool Matches(const Mark& mark, const unsigned char* buffer, std::uint32_t size)
{
    return mark.length <= size && std::memcmp(buffer, mark.bytes, mark.length) == 0 &&
           (mark.encoding != BOM_UTF7 || CompletesUtf7Mark(buffer, size));
}

// Without a mark: Latin text in UTF-16LE has a zero in every second byte.
bool LooksLikeUtf16(const unsigned char* buffer, std::uint32_t size)
{
    if (size < 9)
        return false;
    unsigned char high = 0;
    unsigned char low = 0;
    for (int i = 0; i < 8; i += 2) {
        low |= buffer[i];
        high |= buffer[i + 1];
    }
    return high == 0 && low != 0;
}

} // namespace

EXelTextByteOrderMaskEncoding detect_bom_header(const unsigned char* buffer, std::uint32_t size,
                                                std::uint32_t* markLength)
{
    if (!buffer)
        return BOM_NONE;
    for (const Mark& mark : kMarks) {
        if (Matches(mark, buffer, size)) {
            if (markLength)
                *markLength = mark.length;
            return mark.encoding;
        }
    }
    return BOM_NONE;
}

EXelTextEncoding detect_text_encoding(const void* buffer, std::uint32_t size,
                                      std::uint32_t* markLength)
{
    if (!buffer || size < 2)
        return TEXT_ENCODING_UNKNOWN;
    const auto* bytes = static_cast<const unsigned char*>(buffer);
    switch (detect_bom_header(bytes, size, markLength)) {
    case BOM_NONE:
        return LooksLikeUtf16(bytes, size) ? TEXT_ENCODING_UTF16LE : TEXT_ENCODING_8BIT;
    case BOM_UTF16_LE:
        return TEXT_ENCODING_UTF16LE;
    default:
        return TEXT_ENCODING_UNKNOWN;
    }
}

} // namespace xel_text_traits::xel_text_utils
