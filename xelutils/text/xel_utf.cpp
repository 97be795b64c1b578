#include "xelutils/text/xel_utf.h"

#include <climits>
#include <cstdint>

namespace xel_text {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char16_t unit)
{
    return (unit & 0xFC00) == 0xD800;
}
bool IsLowSurrogate(char16_t unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

// Takes one character off the front; a surrogate without partner is the replacement character.
char32_t TakeCharacter(std::u16string_view& text)
{
    const char16_t unit = text.front();
    text.remove_prefix(1);
    if (IsHighSurrogate(unit) && !text.empty() && IsLowSurrogate(text.front())) {
        const char16_t low = text.front();
        text.remove_prefix(1);
        return 0x10000 + ((char32_t{unit} - 0xD800) << 10) + (char32_t{low} - 0xDC00);
    }
    return IsHighSurrogate(unit) || IsLowSurrogate(unit) ? kReplacement : char32_t{unit};
}

void AppendUtf8(std::string& utf8, char32_t ch)
{
    const auto append = [&utf8](char32_t byte) { utf8 += static_cast<char>(byte); };
    const auto continuation = [ch](int shift) { return 0x80 | ((ch >> shift) & 0x3F); };
    if (ch < 0x80) {
        append(ch);
    } else if (ch < 0x800) {
        append(0xC0 | (ch >> 6));
        append(continuation(0));
    } else if (ch < 0x10000) {
        append(0xE0 | (ch >> 12));
        append(continuation(6));
        append(continuation(0));
    } else {
        append(0xF0 | (ch >> 18));
        append(continuation(12));
        append(continuation(6));
        append(continuation(0));
    }
}

struct Decoded {
    char32_t character;
    // Bytes taken; of an ill-formed sequence the longest beginning that could have gone on.
    std::size_t length;
    bool wellFormed;
};

// The well-formed sequences: for each first byte, how many more follow and the range of the
// second; all others lie in 80..BF.
Decoded DecodeFirst(std::string_view utf8)
{
    const auto byte = [&utf8](std::size_t i) { return static_cast<unsigned char>(utf8[i]); };
    const unsigned first = byte(0);
    if (first < 0x80)
        return {first, 1, true};
    std::size_t more = 0;
    unsigned low = 0x80, high = 0xBF;
    if (first >= 0xC2 && first <= 0xDF) {
        more = 1;
    } else if (first >= 0xE0 && first <= 0xEF) {
        more = 2;
        low = first == 0xE0 ? 0xA0 : low;
        high = first == 0xED ? 0x9F : high;
    } else if (first >= 0xF0 && first <= 0xF4) {
        more = 3;
        low = first == 0xF0 ? 0x90 : low;
        high = first == 0xF4 ? 0x8F : high;
    } else {
        return {kReplacement, 1, false};
    }
    char32_t character = first & (0x3F >> more);
    for (std::size_t i = 1; i <= more; ++i) {
        if (i >= utf8.size() || byte(i) < low || byte(i) > high)
            return {kReplacement, i, false};
        character = (character << 6) | (byte(i) & 0x3F);
        low = 0x80;
        high = 0xBF;
    }
    return {character, more + 1, true};
}

} // namespace

std::string ToUtf8(const CXelStringT<wchar_t>& text)
{
    std::string utf8;
    std::u16string_view rest = ToUtf16(text);
    utf8.reserve(rest.size());
    while (!rest.empty())
        AppendUtf8(utf8, TakeCharacter(rest));
    return utf8;
}

CXelStringT<wchar_t> FromUtf8(std::string_view utf8, bool* wellFormed)
{
    if (wellFormed)
        *wellFormed = utf8.size() <= INT_MAX;
    CXelStringT<wchar_t> text;
    if (utf8.empty() || utf8.size() > INT_MAX)
        return text;
    // No character takes more units than bytes.
    wchar_t* const start = text.GetBuffer(static_cast<int>(utf8.size()));
    wchar_t* end = start;
    while (!utf8.empty()) {
        const Decoded decoded = DecodeFirst(utf8);
        utf8.remove_prefix(decoded.length);
        if (!decoded.wellFormed && wellFormed)
            *wellFormed = false;
        if (decoded.character < 0x10000) {
            *end++ = static_cast<wchar_t>(decoded.character);
        } else {
            const char32_t offset = decoded.character - 0x10000;
            *end++ = static_cast<wchar_t>(0xD800 + (offset >> 10));
            *end++ = static_cast<wchar_t>(0xDC00 + (offset & 0x3FF));
        }
    }
    text.ReleaseBuffer(static_cast<int>(end - start));
    text.FreeExtra();
    return text;
}

CXelStringT<wchar_t> FromUtf16(std::u16string_view utf16)
{
    if (utf16.size() > INT_MAX)
        return {};
    return CXelStringT<wchar_t>(reinterpret_cast<const wchar_t*>(utf16.data()),
                                static_cast<int>(utf16.size()));
}

} // namespace xel_text
