// Upper and lower case of single units. Unicode's simple pairs, with one exception: the units
// whose partner is an ASCII letter without being one themselves (dotted and dotless i, long s,
// the Kelvin sign) and the micro sign keep their case, so that no text turns into other text.
#pragma once

#include "xelutils/platform/posix/text_tables.h"

constexpr wchar_t kEndOfAscii = 0x80;
constexpr unsigned kLettersInAscii = 26;
constexpr unsigned kAsciiCaseBit = 0x20;

inline wchar_t LowerCase(wchar_t unit)
{
    if (unit < kEndOfAscii)
        return static_cast<wchar_t>(unit - unsigned{'A'} < kLettersInAscii ? unit + kAsciiCaseBit
                                                                           : unit);
    return static_cast<wchar_t>(unit + kLowerPages[kLowerPageOf[unit >> 8]][unit & 0xFF]);
}

inline wchar_t UpperCase(wchar_t unit)
{
    if (unit < kEndOfAscii)
        return static_cast<wchar_t>(unit - unsigned{'a'} < kLettersInAscii ? unit - kAsciiCaseBit
                                                                           : unit);
    return static_cast<wchar_t>(unit + kUpperPages[kUpperPageOf[unit >> 8]][unit & 0xFF]);
}

// What two units that differ only in case have in common.
inline wchar_t FoldCase(wchar_t unit)
{
    return LowerCase(unit);
}
