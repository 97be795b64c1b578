// Characters of UTF-16 text, and their UTF-8.
#pragma once

#include <string>
#include <string_view>

constexpr bool IsHighSurrogate(unsigned unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool IsLowSurrogate(unsigned unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// Takes the first character off the text from `text` to `end`, which is not empty. A surrogate
// without its partner is a character of its own.
inline char32_t TakeCharacter(const wchar_t*& text, const wchar_t* end)
{
    const char32_t unit = *text++;
    if (!IsHighSurrogate(unit) || text == end || !IsLowSurrogate(*text))
        return unit;
    const char32_t low = *text++;
    return 0x10000 + ((unit - 0xD800) << 10 | (low - 0xDC00));
}

// A surrogate gets the three bytes that its number would have.
inline void AppendUtf8(std::string& text, char32_t character)
{
    const auto append = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (character < 0x80) {
        append(character);
        return;
    }
    if (character < 0x800) {
        append(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            append(0xE0 | character >> 12);
        } else {
            append(0xF0 | character >> 18);
            append(0x80 | (character >> 12 & 0x3F));
        }
        append(0x80 | (character >> 6 & 0x3F));
    }
    append(0x80 | (character & 0x3F));
}

// `units` is a sequence of units of 16 bits; of characters beyond the first 65536 it gets two.
template <class Units> void AppendUtf16(Units& units, char32_t character)
{
    using Unit = typename Units::value_type;
    if (character < 0x10000) {
        units.push_back(static_cast<Unit>(character));
        return;
    }
    const char32_t above = character - 0x10000;
    units.push_back(static_cast<Unit>(0xD800 + (above >> 10)));
    units.push_back(static_cast<Unit>(0xDC00 + (above & 0x3FF)));
}

struct DecodedUtf8 {
    char32_t character;
    // Bytes; 0 when there is no well-formed character.
    std::size_t length;
};

// The well-formed UTF-8 character that `bytes`, which are not empty, begin with.
inline DecodedUtf8 DecodeUtf8(std::string_view bytes)
{
    const auto lead = static_cast<unsigned char>(bytes[0]);
    if (lead < 0x80)
        return {lead, 1};
    const std::size_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 0 || lead > 0xF4 || length > bytes.size())
        return {0, 0};
    char32_t character = lead & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if ((byte & 0xC0) != 0x80)
            return {0, 0};
        character = character << 6 | (byte & 0x3Fu);
    }
    const bool overlong =
        (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    if (overlong || surrogate || character > 0x10FFFF)
        return {0, 0};
    return {character, length};
}
