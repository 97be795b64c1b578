// Characters of UTF-16 text, and their UTF-8.
#pragma once

#include <string>

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
